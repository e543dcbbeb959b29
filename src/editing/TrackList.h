#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

class Project;

/**
    The track page's list of tracks, one row per track of the project, read afresh at every
    paint. It tells the page which row is the current one, the highlighted row, whether a click
    or the arrow keys chose it, and does the per-track work of its right-click menu: rename,
    merge with the next track, remove, delete, and the album-wide artist, album, year and genre.
    Its texts are always English.
*/
class TrackList : public juce::ListBox, public juce::ListBoxModel
{
public:
    explicit TrackList (Project* project);
    ~TrackList() override;

    /** The menu's entries, by the number each one returns. */
    enum MenuEntry
    {
        renameTrackEntry = 1,
        deleteTrackEntry = 2,
        renameArtistEntry = 3,
        renameAlbumEntry = 4,
        setYearEntry = 5,
        setGenreEntry = 6,
        removeTrackEntry = 7,
        mergeEntry = 8,
        findSongsEntry = 9,
        sleeveTitlesEntry = 10
    };

    int getNumRows() override;
    void paintListBoxItem (int row, juce::Graphics& g, int width, int height, bool selected) override;
    void listBoxItemClicked (int row, const juce::MouseEvent& e) override;
    void selectedRowsChanged (int lastRowSelected) override;

    /** The row the user sees highlighted, chosen last with the mouse or the keys: the row the
        page plays, splits and previews. -1 when no row is highlighted. */
    int getCurrentRow() const { return getLastRowSelected(); }

    /** Renames the row's file to `newName` in its folder, with the ending of the format the file
        holds (".wav" for a WAV file); false when it failed. */
    bool renameTrack (int row, const juce::String& newName);

    /** The path a rename to `newName` gives the row's file; empty when the row has no folder. */
    juce::String pathForRename (int row, const juce::String& newName) const;

    /** The right-click menu, its entries in order: the eight of the list, always in English, then
        the two that find the songs and take the titles from the sleeve, in the user's language. */
    static juce::PopupMenu makeMenu (const Project* project = nullptr);

    /** Does what the menu's entry `result` does for `row`; 0 does nothing. */
    void runMenuEntry (int result, int row);

    /** The text window of a double click: rename, with the field holding the track's name. */
    void showRenameDialog (int row);

    /** Whether a Ctrl click with the left button opens the menu on this system: everywhere but
        on the oldest Windows, where it counts as a plain click. */
    static bool ctrlClickOpensMenu (juce::SystemStats::OperatingSystemType system);

    /** Shows the menu at the mouse and returns the chosen entry, 0 when none. Tests replace it. */
    std::function<int (juce::PopupMenu& menu)> showMenu;

    /** Writes two tracks' files one after the other into a third, behind the merge's progress
        window; true when the merge is to be taken. Tests replace it to hold the worker. */
    std::function<bool (const juce::File& first, const juce::File& second, const juce::File& output)> merge;

private:
    /** The window with one text field "newname"; true and the text when the user typed one and
        pressed "ok". */
    bool askForText (const juce::String& title, const juce::String& message, const juce::String& label,
                     const juce::String& initialText, juce::String& typed) const;

    void askForTrackName (int row, const juce::String& initialText);
    void askForAlbumValue (int entry);
    void mergeWithNext (int row);
    void removeSelected (int row);
    void deleteSelected (int row);
    void findSongs (int row);
    void takeTitlesFromSleeve();

    /** A Ctrl click that opens the menu has just had the list flip the row's selection: the
        selection goes back to what it was, so that the menu acts on what the user had chosen. */
    void undoSelectionFlip (int row);

    /** After a rename found the row's file gone: the row leaves the list. */
    void dropVanishedRow (int row);

    void refresh();

    Project* project;
    int lastSelected = -1;       // the row the list last selected, as it reports it
    int lastSelectedBefore = -1; // the same before the last change of the selection

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackList)
};
