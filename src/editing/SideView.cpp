#include "editing/SideView.h"

#include <cmath>

const juce::Colour SideView::backgroundColour (0xfff8f8f8);
const juce::Colour SideView::unreadColour (0xffdcdcdc);
const juce::Colour SideView::trackColour (0xffdde9f5);
const juce::Colour SideView::bandColour (0xffe8e8e8);
const juce::Colour SideView::bandTrackColour (0xffc3d7ec);
const juce::Colour SideView::waveColour (0xff2b5b8a);
const juce::Colour SideView::markColour (0xffd42a2a);
const juce::Colour SideView::playColour (0xff1a9c3a);
const juce::Colour SideView::nameColour (juce::Colours::black);

namespace
{
constexpr int repaintWhileReadingMs = 100;
} // namespace

SideView::SideView (const SideOverview& overviewToShow)
    : overview (overviewToShow)
{
    setWantsKeyboardFocus (true);
    setMouseClickGrabsKeyboardFocus (true);
    startTimer (repaintWhileReadingMs);
}

SideView::~SideView()
{
    stopTimer();
}

void SideView::timerCallback()
{
    // The side fills in as it is read; once it is all there, nothing more changes by itself.
    if (overview.isComplete() || overview.hasFailed())
        stopTimer();
    repaint();
}

//==============================================================================
void SideView::setTracks (std::vector<Track> tracksNow)
{
    tracks = std::move (tracksNow);
    repaint();
}

void SideView::setMarks (std::vector<juce::int64> marksToShow)
{
    std::sort (marksToShow.begin(), marksToShow.end());
    marksToShow.erase (std::remove_if (marksToShow.begin(), marksToShow.end(),
                                       [this] (juce::int64 mark)
                                       { return mark <= 0 || mark >= overview.getLengthInFrames(); }),
                       marksToShow.end());
    marksToShow.erase (std::unique (marksToShow.begin(), marksToShow.end()), marksToShow.end());
    marks = std::move (marksToShow);
    repaint();
}

void SideView::setPlayPosition (juce::int64 frame)
{
    if (frame == playPosition)
        return;
    playPosition = frame;
    repaint();
}

juce::int64 SideView::smallestTrack() const
{
    // A tenth of a second: no song is shorter, and a mark stays apart from its neighbours.
    return juce::jmax ((juce::int64) 1, (juce::int64) (overview.getSampleRate() / 10.0));
}

//==============================================================================
double SideView::farthestFramesPerPixel() const
{
    return juce::jmax (closestFramesPerPixel, (double) overview.getLengthInFrames() / juce::jmax (1, getWidth()));
}

void SideView::setView (juce::int64 start, double newFramesPerPixel)
{
    framesPerPixel = juce::jlimit (closestFramesPerPixel, farthestFramesPerPixel(), newFramesPerPixel);
    const auto inView = (juce::int64) std::ceil (framesPerPixel * getWidth());
    viewStart =
        juce::jlimit ((juce::int64) 0, juce::jmax ((juce::int64) 0, overview.getLengthInFrames() - inView), start);
    repaint();

    if (onViewChanged)
        onViewChanged();
}

void SideView::zoomIn (float x)
{
    const auto anchor = frameAt (x);
    const double closer = juce::jmax (framesPerPixel / 2.0, closestFramesPerPixel);
    setView (anchor - (juce::int64) std::llround (x * closer), closer);
}

void SideView::zoomOut (float x)
{
    const auto anchor = frameAt (x);
    const double farther = juce::jmin (framesPerPixel * 2.0, farthestFramesPerPixel());
    setView (anchor - (juce::int64) std::llround (x * farther), farther);
}

void SideView::showAll()
{
    setView (0, farthestFramesPerPixel());
}

void SideView::resized()
{
    // A new width keeps the start in view; at first, the whole side.
    if (viewStart == 0 && framesPerPixel >= farthestFramesPerPixel() - 1.0e-9)
        showAll();
    else
        setView (viewStart, framesPerPixel);
}

float SideView::xOf (juce::int64 frame) const
{
    return (float) ((double) (frame - viewStart) / framesPerPixel);
}

juce::int64 SideView::frameAt (float x) const
{
    const auto frame = viewStart + (juce::int64) std::llround ((double) x * framesPerPixel);
    return juce::jlimit ((juce::int64) 0, overview.getLengthInFrames(), frame);
}

int SideView::markAt (float x) const
{
    int nearest = -1;
    float distance = (float) markReach + 0.5f;

    for (size_t i = 0; i < marks.size(); ++i)
    {
        const float d = std::abs ((float) juce::roundToInt (xOf (marks[i])) - x);
        if (d <= distance)
        {
            distance = d;
            nearest = (int) i;
        }
    }

    return nearest;
}

//==============================================================================
void SideView::paint (juce::Graphics& g)
{
    const int width = getWidth();
    const int height = getHeight();
    const int waveTop = namesHeight;
    const int waveHeight = juce::jmax (1, height - waveTop);
    const float centre = (float) waveTop + (float) waveHeight * 0.5f;
    const float half = (float) waveHeight * 0.5f - 1.0f;

    g.fillAll (backgroundColour);
    g.setColour (bandColour);
    g.fillRect (0, 0, width, namesHeight);

    // What of the side is not read yet.
    const auto read = overview.isComplete() ? overview.getLengthInFrames() : overview.getFramesRead();
    const int readEnd = juce::jlimit (0, width, juce::roundToInt (xOf (read)));
    if (readEnd < width)
    {
        g.setColour (unreadColour);
        g.fillRect (readEnd, waveTop, width - readEnd, waveHeight);
    }

    // The tracks the side holds now: tinted below, named in the band.
    g.setFont (juce::Font ((float) namesHeight * 0.72f));
    for (const auto& track : tracks)
    {
        const int x0 = juce::jmax (0, juce::roundToInt (xOf (track.span.getStart())));
        const int x1 = juce::jmin (width, juce::roundToInt (xOf (track.span.getEnd())));
        if (x1 <= x0)
            continue;

        g.setColour (trackColour);
        if (juce::jmin (x1, readEnd) > x0)
            g.fillRect (x0, waveTop, juce::jmin (x1, readEnd) - x0, waveHeight);
        g.setColour (bandTrackColour);
        g.fillRect (x0, 1, x1 - x0, namesHeight - 2);
        g.setColour (nameColour);
        g.drawText (track.name, x0 + 4, 0, x1 - x0 - 6, namesHeight, juce::Justification::centredLeft, true);
    }

    // The sound, a column at a time, from the lowest to the highest sample under it.
    g.setColour (waveColour);
    for (int x = 0; x < width; ++x)
    {
        const auto from = viewStart + (juce::int64) std::floor ((double) x * framesPerPixel);
        const auto to = juce::jmax (from + 1, viewStart + (juce::int64) std::floor ((double) (x + 1) * framesPerPixel));
        float lowest = 0.0f, highest = 0.0f;
        if (! overview.getRange (from, to, lowest, highest))
            continue;

        const int top = juce::roundToInt (centre - highest * half);
        const int bottom = juce::roundToInt (centre - lowest * half);
        g.fillRect (x, top, 1, juce::jmax (1, bottom - top + 1));
    }

    // Where it plays; the marks go over it.
    if (playPosition >= 0)
    {
        const int x = juce::roundToInt (xOf (playPosition));
        if (x >= 0 && x < width)
        {
            g.setColour (playColour);
            g.fillRect (x, waveTop, 1, waveHeight);
        }
    }

    // The cut marks, across, with a handle in the band to take them by.
    for (const auto mark : marks)
    {
        const int x = juce::roundToInt (xOf (mark));
        if (x < -markReach || x > width + markReach)
            continue;

        g.setColour (markColour);
        g.fillRect (x, 0, 1, height);
        juce::Path handle;
        handle.addTriangle ((float) x - 4.5f, 0.0f, (float) x + 5.5f, 0.0f, (float) x + 0.5f, 7.0f);
        g.fillPath (handle);
    }
}

//==============================================================================
void SideView::mouseMove (const juce::MouseEvent& e)
{
    setMouseCursor (markAt (e.position.x) >= 0 ? juce::MouseCursor::LeftRightResizeCursor
                                               : juce::MouseCursor::NormalCursor);
}

void SideView::mouseDown (const juce::MouseEvent& e)
{
    dragging = -1;
    clickMoved = false;
    const int mark = markAt (e.position.x);

    if (e.mods.isPopupMenu())
    {
        // A right click takes a mark away; elsewhere it does nothing.
        if (mark >= 0)
        {
            marks.erase (marks.begin() + mark);
            repaint();
            if (onMarksChanged)
                onMarksChanged();
        }
        return;
    }

    if (e.mods.isLeftButtonDown() && mark >= 0)
        dragging = mark;
}

void SideView::mouseDrag (const juce::MouseEvent& e)
{
    if (e.getDistanceFromDragStart() > 2)
        clickMoved = true;

    if (dragging < 0)
        return;

    // A mark stays between its neighbours, a little apart from each.
    const auto index = (size_t) dragging;
    const auto lowest = (index == 0 ? 0 : marks[index - 1]) + smallestTrack();
    const auto highest = (index + 1 < marks.size() ? marks[index + 1] : overview.getLengthInFrames()) - smallestTrack();
    if (highest < lowest)
        return;

    marks[index] = juce::jlimit (lowest, highest, frameAt (e.position.x));
    repaint();
}

void SideView::mouseUp (const juce::MouseEvent& e)
{
    if (dragging >= 0)
    {
        dragging = -1;
        if (clickMoved && onMarksChanged)
            onMarksChanged();
        if (clickMoved)
            return;
    }

    // A plain click plays from where it was; the second click of a double click adds a mark.
    if (e.mods.isLeftButtonDown() && ! e.mods.isPopupMenu() && ! clickMoved && e.getNumberOfClicks() == 1)
    {
        cursor = frameAt (e.position.x);
        if (onPlayFrom)
            onPlayFrom (cursor);
    }
}

void SideView::mouseDoubleClick (const juce::MouseEvent& e)
{
    if (! e.mods.isLeftButtonDown() || markAt (e.position.x) >= 0)
        return;

    const auto frame = frameAt (e.position.x);
    const auto gap = smallestTrack();
    if (frame < gap || frame > overview.getLengthInFrames() - gap)
        return;
    for (const auto mark : marks)
        if (std::abs (mark - frame) < gap)
            return;

    marks.insert (std::upper_bound (marks.begin(), marks.end(), frame), frame);
    repaint();
    if (onMarksChanged)
        onMarksChanged();
}

void SideView::mouseWheelMove (const juce::MouseEvent& e, const juce::MouseWheelDetails& wheel)
{
    if (std::abs (wheel.deltaX) > std::abs (wheel.deltaY))
    {
        setView (viewStart - (juce::int64) (wheel.deltaX * (float) getWidth() * framesPerPixel), framesPerPixel);
        return;
    }

    if (wheel.deltaY > 0.0f)
        zoomIn (e.position.x);
    else if (wheel.deltaY < 0.0f)
        zoomOut (e.position.x);
}

bool SideView::keyPressed (const juce::KeyPress& key)
{
    const float middle = (float) getWidth() * 0.5f;
    const auto quarter = (juce::int64) (framesPerPixel * getWidth() / 4.0);

    if (key == juce::KeyPress::spaceKey)
    {
        if (onSpace)
            onSpace();
        return true;
    }

    const auto character = key.getTextCharacter();
    if (character == '+' || character == '=')
        zoomIn (middle);
    else if (character == '-')
        zoomOut (middle);
    else if (key.getKeyCode() == juce::KeyPress::leftKey)
        setView (viewStart - quarter, framesPerPixel);
    else if (key.getKeyCode() == juce::KeyPress::rightKey)
        setView (viewStart + quarter, framesPerPixel);
    else
        return false;

    return true;
}
