#include "editing/TrackList.h"

#include "editing/MergeThread.h"
#include "editing/SleeveTitles.h"
#include "editing/SongCutter.h"
#include "encoding/CopyMyFile.h"
#include "project/Dialogs.h"
#include "project/Project.h"
#include "project/Track.h"

TrackList::TrackList (Project* projectToUse)
    : juce::ListBox ("trackList", nullptr),
      project (projectToUse)
{
    setModel (this);
    setMultipleSelectionEnabled (true);

    showMenu = [] (juce::PopupMenu& menu) { return menu.showMenu (juce::PopupMenu::Options().withMousePosition()); };
    merge = [this] (const juce::File& first, const juce::File& second, const juce::File& output)
    { return mergeFiles (first, second, output, project); };
}

TrackList::~TrackList()
{
    setModel (nullptr);
}

int TrackList::getNumRows()
{
    return project->trackCount();
}

void TrackList::paintListBoxItem (int row, juce::Graphics& g, int width, int height, bool selected)
{
    if (row >= project->trackCount())
        return;

    if (selected)
        g.fillAll (juce::Colour::fromRGB (230, 230, 230));

    g.setColour (juce::Colours::black);
    g.setFont (juce::Font ((float) height * 0.6f, juce::Font::plain));
    g.drawText (project->trackName (row), 5, 0, width, height, juce::Justification::centredLeft, true);
}

bool TrackList::ctrlClickOpensMenu (juce::SystemStats::OperatingSystemType system)
{
    return system != juce::SystemStats::Win2000 && system != juce::SystemStats::WinXP;
}

void TrackList::listBoxItemClicked (int row, const juce::MouseEvent& e)
{
    if (row >= project->trackCount())
        return;

    const bool menuClick =
        e.mods.isRightButtonDown() || (e.mods.isLeftButtonDown() && e.mods.isCtrlDown() &&
                                       ctrlClickOpensMenu (juce::SystemStats::getOperatingSystemType()));

    if (menuClick)
    {
        // Where the Ctrl key is the list's key for adding a row to the selection, it has done so.
        if (e.mods.isLeftButtonDown() && e.mods.isCommandDown())
            undoSelectionFlip (row);

        auto menu = makeMenu (project);
        runMenuEntry (showMenu (menu), row);
    }
    else if (e.mods.isLeftButtonDown() && e.getNumberOfClicks() == 2)
    {
        showRenameDialog (row);
    }
}

void TrackList::selectedRowsChanged (int lastRowSelected)
{
    lastSelectedBefore = lastSelected;
    lastSelected = lastRowSelected;
}

void TrackList::undoSelectionFlip (int row)
{
    auto selection = getSelectedRows();

    if (selection.contains (row))
        selection.removeRange ({ row, row + 1 });
    else
        selection.addRange ({ row, row + 1 });

    // The row selected last before the click becomes so again, as the keys and a Shift click go on
    // from it.
    const int anchor = lastSelectedBefore;
    const bool anchorSelected = selection.contains (anchor);

    if (anchorSelected)
        selection.removeRange ({ anchor, anchor + 1 });

    setSelectedRows (selection, juce::dontSendNotification);

    if (anchorSelected)
        selectRow (anchor, true, false);
    else
        lastSelected = getLastRowSelected();
}

juce::PopupMenu TrackList::makeMenu (const Project* project)
{
    const auto tr = [project] (const char* text) { return project != nullptr ? project->translate (text) : text; };

    juce::PopupMenu menu;
    menu.addItem (renameTrackEntry, "rename track");
    menu.addItem (renameArtistEntry, "rename artist");
    menu.addItem (renameAlbumEntry, "rename album");
    menu.addItem (setYearEntry, "set year");
    menu.addItem (setGenreEntry, "set genre");
    menu.addItem (mergeEntry, "merge track with next one");
    menu.addItem (removeTrackEntry, "remove track");
    menu.addItem (deleteTrackEntry, "delete track");
    menu.addItem (findSongsEntry, tr ("find the songs..."));
    menu.addItem (sleeveTitlesEntry, tr ("titles from the sleeve..."));
    return menu;
}

void TrackList::runMenuEntry (int result, int row)
{
    switch (result)
    {
        case renameTrackEntry:
            askForTrackName (row, {});
            break;
        case renameArtistEntry:
        case renameAlbumEntry:
        case setYearEntry:
        case setGenreEntry:
            askForAlbumValue (result);
            break;
        case mergeEntry:
            mergeWithNext (row);
            break;
        case removeTrackEntry:
            removeSelected (row);
            break;
        case deleteTrackEntry:
            deleteSelected (row);
            break;
        case findSongsEntry:
            findSongs (row);
            break;
        case sleeveTitlesEntry:
            takeTitlesFromSleeve();
            break;
        default:
            break;
    }
}

//==============================================================================
bool TrackList::askForText (const juce::String& title, const juce::String& message, const juce::String& label,
                            const juce::String& initialText, juce::String& typed) const
{
    AlertRequest request;
    request.icon = juce::MessageBoxIconType::QuestionIcon;
    request.title = title;
    request.message = message;
    request.fieldNames.add ("newname");
    request.fieldLabels.add (label);
    request.fieldValues.add (initialText);
    request.buttons.push_back ({ "cancel", 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    request.buttons.push_back ({ "ok", 1, juce::KeyPress (juce::KeyPress::returnKey) });

    const int result = Dialogs::get().runAlert (request);
    typed = request.fieldValues[0];
    return result == 1 && typed.isNotEmpty();
}

void TrackList::showRenameDialog (int row)
{
    askForTrackName (row, project->trackName (row));
}

void TrackList::askForTrackName (int row, const juce::String& initialText)
{
    juce::String typed;
    if (askForText ("Rename Track", "Old tracks's name: " + project->trackName (row), "New track's name:", initialText,
                    typed))
        renameTrack (row, typed);

    refresh();
}

void TrackList::askForAlbumValue (int entry)
{
    // Album-wide values, the same that the album page shows, whatever row the menu was opened on.
    struct Question
    {
        const char* title;
        const char* message;
        const char* label;
        juce::String* value;
    };

    const Question questions[] = {
        { "Rename artist", "Old artist's name: ", "New artist's name:", &project->artist },
        { "Rename album", "Old album's name: ", "New album's name:", &project->album },
        { "Set year", "Old year: ", "New album's year:", &project->year },
        { "Set genre", "Old album's genre: ", "New album's genre:", &project->genre },
    };
    const auto& question = questions[entry - renameArtistEntry];

    juce::String typed;
    if (askForText (question.title, question.message + *question.value, question.label, *question.value, typed))
        *question.value = typed;

    refresh();
}

//==============================================================================
juce::String TrackList::pathForRename (int row, const juce::String& newName) const
{
    const auto path = project->trackPath (row);
    const auto folder = path.substring (0, path.lastIndexOf (juce::File::getSeparatorString()) + 1);

    if (folder.isEmpty())
        return {};

    // A file keeps the ending of the format it holds, so that it can still be read: a WAV file,
    // or one whose ending names no other format, gets ".wav".
    const auto ending =
        Track::formatOfPath (path) == formatWav ? juce::String (".wav") : juce::File (path).getFileExtension();
    return folder + newName + ending;
}

bool TrackList::renameTrack (int row, const juce::String& newName)
{
    const auto oldPath = project->trackPath (row);
    const auto newPath = pathForRename (row, newName);

    if (oldPath.isEmpty())
    {
        showError ("Bad track selected for renaming");
        dropVanishedRow (row);
        return false;
    }

    if (newPath.isEmpty() || newPath == oldPath)
        return true;

    const juce::File oldFile (oldPath);
    const juce::File newFile (newPath);

    if (! oldFile.exists())
    {
        showError ("Can't rename the track - file not found");
        dropVanishedRow (row);
        return false;
    }

    if (! newFile.exists())
    {
        if (! oldFile.moveFileTo (newFile))
        {
            showError ("An error occured when trying to rename the track");
            return false;
        }

        project->setTrackPath (row, newPath);
        return true;
    }

    if (showYesNoCancel (juce::MessageBoxIconType::WarningIcon, "File exists",
                         "Are you sure you want to replace the existing file ?") != 1)
        return true;

    if (! newFile.deleteFile() || ! oldFile.moveFileTo (newFile))
    {
        showError ("An error occured when trying to rename the track");
        return false;
    }

    // The replaced file may have been a track of its own: it leaves the list.
    if (project->containsTrack (newPath))
    {
        project->removeTrackNamed (newPath);
        if (project->trackCount() > 0)
            project->lastWrittenTrack = project->trackCount() - 1;
    }

    const int renamed = project->indexOfTrack (oldPath);
    if (renamed >= 0)
        project->setTrackPath (renamed, newPath);

    return true;
}

void TrackList::dropVanishedRow (int row)
{
    project->removeTrackAt (row);
    if (project->trackCount() > 0)
        project->lastWrittenTrack = project->trackCount() - 1;
}

//==============================================================================
void TrackList::mergeWithNext (int row)
{
    if (row < 0 || row >= project->trackCount() - 1)
        return;

    const juce::File first (project->trackPath (row));
    const juce::File second (project->trackPath (row + 1));
    const auto merged = juce::File::createTempFile (".wav");

    // The merge is WAV audio: it takes the row's file only where that is a WAV file. A row of
    // another format gets a ".wav" file of a free name beside its own, which stays as it was.
    const bool wavRow = Track::formatOfPath (first.getFullPathName()) == formatWav;
    const auto target =
        wavRow ? first
               : first.getSiblingFile (first.getFileNameWithoutExtension() + ".wav").getNonexistentSibling (true);

    // A cancelled merge still answers true, having deleted the first file: what was written
    // takes its place all the same.
    if (! merge (first, second, merged))
    {
        merged.deleteFile();
        return;
    }

    CopyMyFile move (merged, target, true);
    move.runThread (juce::Thread::Priority::normal);
    if (! move.result)
    {
        merged.deleteFile();
        return;
    }

    if (! wavRow)
        project->setTrack (row, formatWav, target.getFullPathName());

    // In an encode project the second file is the user's own and stays.
    if (project->projectType == ripProject)
        second.deleteFile();

    project->removeTrackAt (row + 1);
    refresh();
}

void TrackList::removeSelected (int row)
{
    const auto selected = getSelectedRows();
    if (selected.isEmpty())
        return;

    // The number of rows comes from the selection, the row from the click.
    if (selected.size() == 1)
    {
        if (showOkCancel (juce::MessageBoxIconType::InfoIcon, "Remove Track",
                          "Are you sure to remove the track named: " + project->trackName (row) +
                              "\n(file won't be erased)"))
            project->removeTrackAt (row);
    }
    else
    {
        project->removeTracks (selected);
    }

    refresh();
}

void TrackList::deleteSelected (int row)
{
    const auto selected = getSelectedRows();
    if (selected.isEmpty())
        return;

    if (selected.size() == 1)
    {
        if (! showOkCancel (juce::MessageBoxIconType::InfoIcon, "Delete Track",
                            "Are you sure to delete the track named: " + project->trackName (row) + "\n"))
            return;

        project->deleteTrack (row);
    }
    else
    {
        if (! showOkCancel (juce::MessageBoxIconType::InfoIcon, "Delete Tracks",
                            "Are you sure to delete the selected tracks ?\n"))
            return;

        project->deleteTracks (selected, true);
    }

    refresh();
}

void TrackList::findSongs (int row)
{
    SongCutter cutter (*project);
    cutter.run (row, getSelectedRows());
    refresh();
}

void TrackList::takeTitlesFromSleeve()
{
    SleeveTitles::askAndRename (*project,
                                [this] (int row, const juce::String& name) { return renameTrack (row, name); });
    refresh();
}

void TrackList::refresh()
{
    updateContent();
    repaint();
}
