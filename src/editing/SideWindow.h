#pragma once

#include "editing/SidePlayer.h"
#include "editing/SideView.h"
#include "editing/SongCutter.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <memory>

class Project;

/**
    "show the side...": a window with the side of the clicked row (or, with no side, the selected
    rows joined, as "find the songs..." takes them), its tracks by name and the marks where it is
    to be cut. The user listens, zooms, moves, adds and removes marks, and "Apply" cuts the audio at
    the marks the way "find the songs..." does: new rows `Track<k>` in place of the old, new files,
    the side's record, a progress window with Cancel. The window stays open after Apply and shows
    the new tracks, so that the side can be put right step by step.
*/
class SideWindow :
    public juce::Component,
    private juce::Button::Listener,
    private juce::ScrollBar::Listener,
    private juce::Timer
{
public:
    /** The whole flow for a right click on `clickedRow` with `selectedRows` selected: the window,
        modally through the dialog seam; true when the list changed. */
    static bool show (Project& project, int clickedRow, const juce::SparseSet<int>& selectedRows,
                      juce::Component* centreAround = nullptr);

    /** The window's content for that click, its side already being read; null, the user told,
        when the audio cannot be read. */
    static std::unique_ptr<SideWindow> create (Project& project, int clickedRow,
                                               const juce::SparseSet<int>& selectedRows);

    ~SideWindow() override;

    /** The window's title: the side file, or the selected tracks. */
    juce::String getTitle() const;

    /** Cuts the audio at the marks; true when the list changed. */
    bool apply();

    /** Whether an Apply changed the list while the window was open. */
    bool hasChangedTheList() const { return changedTheList; }

    const SongCutter::Audio& getAudio() const { return audio; }
    const SideOverview& getOverview() const { return *overview; }
    SidePlayer& getPlayer() { return player; }

    /** Runs the cutting worker behind its progress window; tests replace it to hold the worker. */
    std::function<void (FindSongsThread&)> runWorker;

    void resized() override;

    static constexpr int width = 860;
    static constexpr int height = 306;

private:
    SideWindow (Project& project, SongCutter::Audio audio, std::unique_ptr<AudioFilesSource> source,
                std::vector<juce::int64> starts);

    void buttonClicked (juce::Button* button) override;
    void scrollBarMoved (juce::ScrollBar* bar, double newRangeStart) override;
    void timerCallback() override;

    /** The view's tracks and the player's files, from the audio. */
    void showTheAudio();

    /** Where each of the files begins in the audio they make, joined; empty when they can't be read. */
    static std::vector<juce::int64> startsOf (const juce::Array<juce::File>& files);

    void updateScrollBar();
    void updateTime();

    Project& project;
    SongCutter::Audio audio;
    std::unique_ptr<SideOverview> overview;
    SidePlayer player;
    bool changedTheList = false;
    bool focusGiven = false;

public:
    SideView view;
    juce::ScrollBar scrollBar{ false };
    juce::Label hintLabel;
    juce::Label timeLabel;
    juce::TextButton zoomInButton{ "+" };
    juce::TextButton zoomOutButton{ "-" };
    juce::TextButton wholeButton;
    juce::TextButton applyButton;
    juce::TextButton closeButton;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SideWindow)
};
