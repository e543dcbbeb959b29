#pragma once

#include "editing/SideOverview.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <vector>

/**
    The waveform of a side with the places where it is to be cut: a band at the top with each
    track the side holds now, by its name, over the stretch it takes; below it the side's sound,
    the stretches of the tracks tinted, and a red line across for each cut mark.

    With the mouse: a click plays from the place clicked, a drag moves a mark (never past its
    neighbours), a double click adds one, a right click on a mark removes it, the wheel zooms
    about the mouse (sideways it scrolls). With the keys: Space stops what plays (or plays on
    from the last place), + and - zoom, the arrows scroll.

    The view only shows and tells: playing, and what the marks are for, are its owner's.
*/
class SideView : public juce::Component, private juce::Timer
{
public:
    explicit SideView (const SideOverview& overview);
    ~SideView() override;

    /** A track the side holds now: its name and where it lies, in frames of the side. */
    struct Track
    {
        juce::String name;
        juce::Range<juce::int64> span;
    };

    void setTracks (std::vector<Track> tracksNow);
    const std::vector<Track>& getTracks() const { return tracks; }

    /** The cut marks, in frames of the side: sorted, each inside the side. */
    void setMarks (std::vector<juce::int64> marksToShow);
    const std::vector<juce::int64>& getMarks() const { return marks; }

    /** Where the sound plays, drawn as a green line; -1 when nothing plays. */
    void setPlayPosition (juce::int64 frame);
    juce::int64 getPlayPosition() const { return playPosition; }

    /** The last place clicked, where Space plays on from. */
    juce::int64 getCursor() const { return cursor; }

    //==============================================================================
    // The part of the side in view.

    double getFramesPerPixel() const { return framesPerPixel; }
    juce::int64 getViewStart() const { return viewStart; }

    /** Shows the side from `start` on at `framesPerPixel`, kept within the side and the zoom's limits. */
    void setView (juce::int64 start, double framesPerPixel);

    /** Twice as close, or twice as far, keeping the frame at `x` where it is. */
    void zoomIn (float x);
    void zoomOut (float x);

    /** The whole side in view. */
    void showAll();

    /** The column of a frame, and the frame of a column, in the view's coordinates. */
    float xOf (juce::int64 frame) const;
    juce::int64 frameAt (float x) const;

    /** The closest a zoom comes: frames of the side in one pixel column. */
    static constexpr double closestFramesPerPixel = 16.0;

    /** Height of the band of names at the top. */
    static constexpr int namesHeight = 18;

    /** How near a mark the mouse must be to take it, in pixels. */
    static constexpr int markReach = 4;

    /** The mark under the column `x`, or -1. */
    int markAt (float x) const;

    //==============================================================================
    /** Told of a click: play from this frame. */
    std::function<void (juce::int64 frame)> onPlayFrom;

    /** Told of the Space key. */
    std::function<void()> onSpace;

    /** Told when the user moved, added or removed a mark. */
    std::function<void()> onMarksChanged;

    /** Told when the part in view changed. */
    std::function<void()> onViewChanged;

    //==============================================================================
    static const juce::Colour backgroundColour, unreadColour, trackColour, bandColour, bandTrackColour, waveColour,
        markColour, playColour, nameColour;

    void paint (juce::Graphics& g) override;
    void resized() override;
    void mouseDown (const juce::MouseEvent& e) override;
    void mouseDrag (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;
    void mouseDoubleClick (const juce::MouseEvent& e) override;
    void mouseMove (const juce::MouseEvent& e) override;
    void mouseWheelMove (const juce::MouseEvent& e, const juce::MouseWheelDetails& wheel) override;
    bool keyPressed (const juce::KeyPress& key) override;

private:
    void timerCallback() override;

    /** Frames that keep two marks, or a mark and an end of the side, apart. */
    juce::int64 smallestTrack() const;

    double farthestFramesPerPixel() const;

    const SideOverview& overview;
    std::vector<Track> tracks;
    std::vector<juce::int64> marks;
    juce::int64 viewStart = 0;
    double framesPerPixel = 1000.0;
    juce::int64 playPosition = -1;
    juce::int64 cursor = 0;
    int dragging = -1;       // the mark being dragged
    bool clickMoved = false; // the mouse moved while pressed: no click

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SideView)
};
