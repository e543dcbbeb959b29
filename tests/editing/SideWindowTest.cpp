// "show the side...": the overview read on a thread of its own, the waveform with its marks at
// the right pixel columns at every zoom, marks dragged, added and removed and the sound played
// from a click through the window's real mouse and keys, Apply cutting the side at the marks,
// the entry of the track list, and the window in French and German.
#include "editing/SideWindow.h"
#include "app/GrooveLookAndFeel.h"
#include "app/TextFit.h"
#include "support/Snapshots.h"

#include "../capture/MeterImageSupport.h"
#include "SideFiles.h"

#include <atomic>

using namespace sidefiles;
using meter_test::pixelIs;
using meter_test::snapshotOf;

namespace
{
/** A source of known samples that gives nothing beyond `gate` until the test lets it. */
class GatedSource final : public SongSource
{
public:
    explicit GatedSource (std::vector<int> samplesToGive)
        : samples (std::move (samplesToGive))
    {
    }

    double getSampleRate() const override { return 44100.0; }
    juce::int64 getLengthInFrames() const override { return (juce::int64) samples.size(); }
    bool restart() override
    {
        position = 0;
        return true;
    }

    int read (int* const* channels, int numFrames) override
    {
        while (position >= gate.load() && position < getLengthInFrames())
            juce::Thread::sleep (1);

        const int n = (int) juce::jmin ((juce::int64) numFrames, gate.load() - position);
        for (int i = 0; i < n; ++i)
        {
            channels[0][i] = samples[(size_t) (position + i)] * 65536;
            channels[1][i] = -samples[(size_t) (position + i)] * 65536;
        }
        position += n;
        return n;
    }

    std::atomic<juce::int64> gate{ 0 };

private:
    std::vector<int> samples;
    juce::int64 position = 0;
};

std::vector<int> randomSamples (int count, int seed)
{
    juce::Random random (seed);
    std::vector<int> samples ((size_t) count);
    for (auto& value : samples)
        value = random.nextInt ({ -30000, 30000 });
    return samples;
}

/** The mouse as the window's peer hears it from the system: each event goes through the
    framework's own dispatch, with its click counting and double clicks. */
class Mouse
{
public:
    explicit Mouse (juce::Component& windowToUse)
        : window (windowToUse)
    {
        // A click of an earlier test must not make a double click with the first one here.
        juce::Thread::sleep (juce::MouseEvent::getDoubleClickTimeout() + 50);
    }

    void press (juce::Point<float> at, juce::ModifierKeys buttons = left) { send (at, buttons); }
    void dragTo (juce::Point<float> at) { send (at, buttons); }
    void release() { send (position, {}); }

    void click (juce::Point<float> at, juce::ModifierKeys withButtons = left)
    {
        press (at, withButtons);
        release();
    }

    void doubleClick (juce::Point<float> at)
    {
        click (at);
        click (at);
    }

    static inline const juce::ModifierKeys left{ juce::ModifierKeys::leftButtonModifier };
    static inline const juce::ModifierKeys right{ juce::ModifierKeys::rightButtonModifier };

private:
    void send (juce::Point<float> at, juce::ModifierKeys mods)
    {
        auto* peer = window.getPeer();
        ASSERT_NE (peer, nullptr);
        peer->handleMouseEvent (juce::MouseInputSource::InputSourceType::mouse, at, mods,
                                juce::MouseInputSource::defaultPressure, juce::MouseInputSource::defaultOrientation,
                                juce::Time::currentTimeMillis());
        position = at;
        buttons = mods;
    }

    juce::Component& window;
    juce::Point<float> position;
    juce::ModifierKeys buttons;
};

class SideWindowTest : public CapturedSideTest
{
protected:
    void TearDown() override
    {
        {
            // A player that still plays waits for the audio thread to take its stop.
            auto blocks = device->runBlocksInBackground();
            window.reset();
        }
        EXPECT_EQ (AudioReader::instanceCount(), 0);
        CapturedSideTest::TearDown();
    }

    /** The window of a right click on `row`, shown on the desktop with its side read. */
    void openWindow (int row, juce::SparseSet<int> selected = {})
    {
        window = SideWindow::create (*project, row, selected);
        ASSERT_NE (window, nullptr);
        ASSERT_TRUE (window->getOverview().waitUntilComplete (20000));
        window->addToDesktop (0);
        window->setVisible (true);
        window->view.showAll();
    }

    /** A point of the waveform, in the window. */
    juce::Point<float> inView (float x, float y = 100.0f) const
    {
        return window->view.getPosition().toFloat() + juce::Point<float> (x, y);
    }

    /** The column where a frame is drawn. */
    int columnOf (juce::int64 frame) const { return juce::roundToInt (window->view.xOf (frame)); }

    /** The pixels of the waveform's marks are the marks' colour, and those beside them are not. */
    void expectMarksDrawn()
    {
        const auto image = snapshotOf (window->view);
        for (const auto mark : window->view.getMarks())
        {
            const int x = columnOf (mark);
            if (x < 3 || x >= image.getWidth() - 3)
                continue;
            for (const int y :
                 { SideView::namesHeight + 3, window->view.getHeight() / 2, window->view.getHeight() - 3 })
            {
                EXPECT_TRUE (pixelIs (image, x, y, SideView::markColour)) << "mark " << mark;
                EXPECT_NE (image.getPixelAt (x - 3, y), SideView::markColour) << "mark " << mark;
                EXPECT_NE (image.getPixelAt (x + 3, y), SideView::markColour) << "mark " << mark;
            }
        }
    }

    std::unique_ptr<SideWindow> window;
};
} // namespace

//==============================================================================
TEST (SideOverview, holdsTheLowestAndHighestSampleOfEveryStretchAtEveryLevel)
{
    constexpr int frames = 300000 + 37; // a last stretch shorter than the others
    const auto samples = randomSamples (frames, 5);
    auto source = std::make_unique<GatedSource> (samples);
    source->gate = frames;
    const SideOverview overview (std::move (source));
    ASSERT_TRUE (overview.waitUntilComplete (20000));
    EXPECT_EQ (overview.getFramesRead(), frames);

    for (int stretch = SideOverview::finestFrames, level = 0; level < SideOverview::levels; stretch *= 4, ++level)
    {
        for (const juce::int64 first :
             { (juce::int64) 0, (juce::int64) 3 * stretch, (juce::int64) (frames / stretch) * stretch })
        {
            const auto end = juce::jmin ((juce::int64) frames, first + 2 * (juce::int64) stretch);
            int lowest = 1 << 20, highest = -(1 << 20);
            for (auto i = first; i < end; ++i)
            {
                // The right channel is the left one turned over.
                lowest = juce::jmin (lowest, samples[(size_t) i], -samples[(size_t) i]);
                highest = juce::jmax (highest, samples[(size_t) i], -samples[(size_t) i]);
            }

            float low = 0.0f, high = 0.0f;
            ASSERT_TRUE (overview.getRange (first, first + 2 * stretch, low, high)) << stretch << " " << first;
            EXPECT_EQ (low, (float) lowest / 32768.0f) << stretch << " " << first;
            EXPECT_EQ (high, (float) highest / 32768.0f) << stretch << " " << first;
        }
    }

    // A fraction of what the audio takes: four bytes a frame of 16-bit stereo.
    EXPECT_LT (overview.getBytes() * 40, (size_t) frames * 4);
}

TEST (SideOverview, opensAtOnceAndFillsInAsTheSideIsRead)
{
    const auto samples = randomSamples (200000, 6);
    auto source = std::make_unique<GatedSource> (samples);
    auto* gated = source.get();
    const SideOverview overview (std::move (source));

    // Nothing read yet: the overview is there, empty.
    float low = 0.0f, high = 0.0f;
    EXPECT_FALSE (overview.isComplete());
    EXPECT_FALSE (overview.getRange (0, 64, low, high));

    // A part read: that part is there, the rest is not.
    gated->gate = 70000;
    for (int i = 0; i < 5000 && overview.getFramesRead() < 70000; ++i)
        juce::Thread::sleep (1);
    ASSERT_EQ (overview.getFramesRead(), 70000);
    EXPECT_TRUE (overview.getRange (0, 64, low, high));
    EXPECT_FALSE (overview.getRange (80000, 80064, low, high));
    EXPECT_FALSE (overview.isComplete());

    gated->gate = (juce::int64) samples.size();
    ASSERT_TRUE (overview.waitUntilComplete (20000));
    EXPECT_TRUE (overview.getRange (199000, 200000, low, high));
}

//==============================================================================
TEST_F (SideWindowTest, showsTheSideWithItsTracksByNameAndAMarkWhereEachBegins)
{
    captureTheSideBadly();
    openWindow (1);

    EXPECT_EQ (window->getTitle(), "The side: Side1.wav");
    ASSERT_EQ (window->view.getTracks().size(), 3u);
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ (window->view.getTracks()[i].name, "Track" + juce::String ((int) i + 1));
        EXPECT_EQ (window->view.getTracks()[i].span,
                   juce::Range<juce::int64> (places[i].first, places[i].first + places[i].length));
    }
    EXPECT_EQ (window->view.getMarks(),
               std::vector<juce::int64> ({ places[0].first, places[1].first, places[2].first }));

    // The whole side in view: the marks where their frames fall, the tracks tinted between.
    EXPECT_EQ (window->view.getViewStart(), 0);
    EXPECT_DOUBLE_EQ (window->view.getFramesPerPixel(), (double) side.frames() / window->view.getWidth());
    expectMarksDrawn();

    const auto image = snapshotOf (window->view);
    const int inTrack = columnOf (places[2].first + places[2].length / 2);
    const int beforeTracks = columnOf (places[0].first) / 2;
    EXPECT_TRUE (pixelIs (image, inTrack, 6, SideView::bandTrackColour));
    EXPECT_TRUE (pixelIs (image, beforeTracks, 6, SideView::bandColour));
    EXPECT_TRUE (pixelIs (image, beforeTracks, SideView::namesHeight + 2, SideView::backgroundColour));
    EXPECT_TRUE (pixelIs (image, inTrack, SideView::namesHeight + 2, SideView::trackColour));

    // Music reaches far from the middle; the groove before the first song does not.
    const auto reach = [&image, this] (int x)
    {
        int top = window->view.getHeight();
        for (int y = SideView::namesHeight; y < window->view.getHeight(); ++y)
            if (image.getPixelAt (x, y) == SideView::waveColour)
                top = juce::jmin (top, y);
        return window->view.getHeight() / 2 + SideView::namesHeight / 2 - top;
    };
    EXPECT_GT (reach (inTrack), 20);
    EXPECT_LT (reach (beforeTracks), 3);
}

TEST_F (SideWindowTest, zoomKeepsTheFrameAtItsPlaceAndTheMarksMoveToTheirNewColumns)
{
    captureTheSideBadly();
    openWindow (0);
    auto& view = window->view;

    const float x = (float) columnOf (places[1].first) + 20.0f;
    const auto anchor = view.frameAt (x);
    const double before = view.getFramesPerPixel();

    view.zoomIn (x);
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), before / 2.0);
    EXPECT_NEAR ((double) view.frameAt (x), (double) anchor, view.getFramesPerPixel());
    expectMarksDrawn();

    view.zoomIn (x);
    view.zoomIn (x);
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), before / 8.0);
    EXPECT_NEAR ((double) view.frameAt (x), (double) anchor, view.getFramesPerPixel());
    const int markColumn = columnOf (places[1].first);
    EXPECT_NEAR (markColumn, x - 20.0f * 8.0f, 5.0f);
    expectMarksDrawn();

    // As close as it goes, and back out to the whole side, whatever is asked.
    for (int i = 0; i < 30; ++i)
        view.zoomIn (x);
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), SideView::closestFramesPerPixel);
    for (int i = 0; i < 30; ++i)
        view.zoomOut (x);
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), (double) side.frames() / view.getWidth());
    EXPECT_EQ (view.getViewStart(), 0);

    // The buttons and the wheel zoom too.
    Mouse mouse (*window);
    mouse.click (window->zoomInButton.getBounds().getCentre().toFloat());
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), (double) side.frames() / view.getWidth() / 2.0);
    window->getPeer()->handleMouseWheel (juce::MouseInputSource::InputSourceType::mouse, inView (x),
                                         juce::Time::currentTimeMillis(), { 0.0f, 0.5f, false, false, false });
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), (double) side.frames() / view.getWidth() / 4.0);
    mouse.click (window->wholeButton.getBounds().getCentre().toFloat());
    EXPECT_EQ (view.getViewStart(), 0);
    EXPECT_DOUBLE_EQ (view.getFramesPerPixel(), (double) side.frames() / view.getWidth());
}

TEST_F (SideWindowTest, aMarkIsDraggedAddedByADoubleClickAndRemovedByARightClick)
{
    captureTheSideBadly();
    openWindow (0);
    auto& view = window->view;
    Mouse mouse (*window);

    // Dragged 40 pixels to the right.
    const float from = (float) columnOf (places[1].first);
    mouse.press (inView (from));
    mouse.dragTo (inView (from + 15.0f));
    mouse.dragTo (inView (from + 40.0f));
    mouse.release();
    ASSERT_EQ (view.getMarks().size(), 3u);
    EXPECT_NEAR ((double) view.getMarks()[1], (double) view.frameAt (from + 40.0f), 1.0);
    EXPECT_EQ (columnOf (view.getMarks()[1]), juce::roundToInt (from + 40.0f));
    EXPECT_FALSE (window->getPlayer().isPlaying()); // a drag plays nothing

    // Never past its neighbour.
    const float second = (float) columnOf (view.getMarks()[1]);
    mouse.press (inView (second));
    mouse.dragTo (inView ((float) view.getWidth() - 1.0f));
    mouse.release();
    EXPECT_EQ (view.getMarks()[1], view.getMarks()[2] - (juce::int64) (side.rate / 10.0));

    // Added where the double click was.
    const float added = (float) columnOf (side.audible[4].start) - 10.0f;
    mouse.doubleClick (inView (added));
    ASSERT_EQ (view.getMarks().size(), 4u);
    EXPECT_NEAR ((double) view.getMarks()[3], (double) view.frameAt (added), 1.0);
    expectMarksDrawn();

    // Removed by a right click on it.
    mouse.click (inView ((float) columnOf (view.getMarks()[0]) + 2.0f), Mouse::right);
    ASSERT_EQ (view.getMarks().size(), 3u);
    EXPECT_NEAR ((double) view.getMarks()[2], (double) view.frameAt (added), 1.0);
    expectMarksDrawn();

    // A right click elsewhere changes nothing.
    const auto marks = view.getMarks();
    mouse.click (inView (5.0f), Mouse::right);
    EXPECT_EQ (view.getMarks(), marks);
}

TEST_F (SideWindowTest, aClickPlaysTheSideFromThereAndSpaceStopsIt)
{
    captureTheSideBadly();
    openWindow (0);
    auto& view = window->view;
    Mouse mouse (*window);

    const float x = (float) columnOf (side.audible[3].start) + 30.0f;
    mouse.click (inView (x));
    const auto clicked = view.getCursor();
    EXPECT_NEAR ((double) clicked, (double) view.frameAt (x), 1.0);

    auto& player = window->getPlayer();
    ASSERT_TRUE (player.isPlaying());
    ASSERT_NE (player.getReader(), nullptr);
    EXPECT_EQ (player.getReader()->getPosition(), clicked);
    EXPECT_EQ (player.getPosition(), clicked);

    // The sound card gets the side from the place clicked.
    expectOutput (device->runBlocks (4), 0, sideAudio, (int) clicked, 2048);
    // The transport reads a few frames ahead of what it plays.
    EXPECT_NEAR ((double) player.getPosition(), (double) (clicked + 4 * 512), 8.0);

    // The line that shows where it plays follows it.
    runMessageLoopFor (100);
    EXPECT_EQ (view.getPlayPosition(), player.getPosition());

    // Space, the keyboard being the waveform's since the click.
    ASSERT_TRUE (view.hasKeyboardFocus (false));
    {
        auto blocks = device->runBlocksInBackground();
        EXPECT_TRUE (window->getPeer()->handleKeyPress (juce::KeyPress (juce::KeyPress::spaceKey)));
    }
    EXPECT_FALSE (player.isPlaying());
    EXPECT_FALSE (player.getReader()->isPlaying());
    EXPECT_EQ (player.getPosition(), -1);
}

//==============================================================================
TEST_F (SideWindowTest, applyCutsTheSideAtTheMarksAndTheWindowShowsTheNewTracks)
{
    captureTheSideBadly();
    const auto other = addWav ("Other.wav", song (4410));
    openWindow (2);

    // A mark a second into the lead-in groove goes; one between each pair of songs comes.
    std::vector<juce::int64> marks;
    for (size_t j = 0; j + 1 < side.audible.size(); ++j)
        marks.push_back ((side.audible[j].end + side.audible[j + 1].start) / 2);
    window->view.setMarks (marks);

    Mouse mouse (*window);
    mouse.click (window->applyButton.getBounds().getCentre().toFloat());
    ASSERT_TRUE (window->hasChangedTheList());

    // Six rows Track1 to Track6 in place of the three, the other row after them.
    ASSERT_EQ (project->trackCount(), 7);
    for (int row = 0; row < 6; ++row)
        EXPECT_EQ (project->trackPath (row),
                   folder.getChildFile ("Track" + juce::String (row + 1) + ".wav").getFullPathName());
    EXPECT_EQ (project->trackPath (6), other.getFullPathName());
    auto paths = trackPaths (*project);
    paths.remove (6);
    expectTheSideCutAt (marks, paths);

    // The record has them, so the window still shows the side, now with the new tracks.
    const auto onDisk = recordOnDisk();
    ASSERT_EQ (onDisk.getPlaces().size(), 6u);
    EXPECT_EQ (onDisk.getPlaces()[3], (SideRecord::Place{ paths[3], marks[2], marks[3] - marks[2] }));
    ASSERT_TRUE (window->getAudio().side.has_value());
    EXPECT_EQ (window->getAudio().rows, juce::Array<int> ({ 0, 1, 2, 3, 4, 5 }));
    ASSERT_EQ (window->view.getTracks().size(), 6u);
    EXPECT_EQ (window->view.getTracks()[5].name, "Track6");
    EXPECT_EQ (window->view.getTracks()[5].span, juce::Range<juce::int64> (marks[4], side.frames()));
    EXPECT_EQ (window->view.getMarks(), marks);

    // And a second Apply, a mark taken away, cuts the side again from its start.
    marks.erase (marks.begin() + 2);
    window->view.setMarks (marks);
    ASSERT_TRUE (window->apply());
    ASSERT_EQ (project->trackCount(), 6);
    paths = trackPaths (*project);
    paths.remove (5);
    expectTheSideCutAt (marks, paths);
}

TEST_F (SideWindowTest, aCancelledApplyLeavesTheListAndTheFilesAsTheyWere)
{
    captureTheSideBadly();
    openWindow (0);
    const auto before = filesIn (folder);
    const auto rows = trackPaths (*project);

    window->view.setMarks ({ side.frames() / 4, side.frames() / 2 });
    bool cancelled = false;
    window->runWorker = [&cancelled] (FindSongsThread& worker)
    {
        worker.onProgress = [&worker, &cancelled] (double share)
        {
            if (share > 0.4 && ! cancelled)
            {
                cancelled = true;
                worker.signalThreadShouldExit();
            }
        };
        worker.runThread();
    };

    EXPECT_FALSE (window->apply());
    EXPECT_TRUE (cancelled);
    EXPECT_FALSE (window->hasChangedTheList());
    EXPECT_EQ (trackPaths (*project), rows);
    EXPECT_EQ (filesIn (folder), before);
    EXPECT_EQ (window->view.getTracks().size(), 3u);
}

TEST_F (SideWindowTest, theProgressWindowIsTheWorkersWithItsTitle)
{
    captureTheSideBadly();
    openWindow (0);

    juce::String title;
    window->runWorker = [&title] (FindSongsThread& worker)
    {
        WavFiles::CancelWhen watch (
            [&title]
            {
                if (auto* shown = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent()))
                    title = shown->getName();
                return false;
            });
        worker.onProgress = [] (double) { juce::Thread::sleep (2); };
        worker.runThread();
    };

    ASSERT_TRUE (window->apply());
    EXPECT_EQ (title, "Cutting the tracks...");
}

TEST_F (SideWindowTest, withNoSideTheSelectedRowsAreShownJoinedAndApplyCutsThem)
{
    // An encode project: the user's own files, joined in list order, and kept.
    project->projectType = encodeProject;
    writeSide();
    const auto first = addWav ("a.wav", slice (sideAudio, 0, side.audible[2].start));
    const auto second = addWav ("b.wav", slice (sideAudio, side.audible[2].start, side.frames()));
    juce::SparseSet<int> both;
    both.addRange ({ 0, 2 });
    openWindow (1, both);

    EXPECT_EQ (window->getTitle(), "The selected tracks, joined");
    EXPECT_FALSE (window->getAudio().side.has_value());
    ASSERT_EQ (window->view.getTracks().size(), 2u);
    EXPECT_EQ (window->view.getTracks()[0].name, "a");
    EXPECT_EQ (window->view.getTracks()[1].span, juce::Range<juce::int64> (side.audible[2].start, side.frames()));
    EXPECT_EQ (window->view.getMarks(), std::vector<juce::int64> ({ side.audible[2].start }));

    // Played across the join: the second file goes on after the first.
    Mouse mouse (*window);
    const float x = (float) columnOf (side.audible[2].start) - 2.0f;
    mouse.click (inView (x));
    const auto clicked = window->view.frameAt (x);
    const auto toTheJoin = side.audible[2].start - clicked;
    ASSERT_LT (toTheJoin, 512 * 40);
    ASSERT_GT (toTheJoin, 0);
    auto& player = window->getPlayer();
    for (int i = 0; i < 200 && player.isPlaying() && player.getPosition() < side.audible[2].start; ++i)
    {
        device->runBlocks (1);
        player.update();
    }
    player.update();
    ASSERT_TRUE (player.isPlaying());
    EXPECT_EQ (player.getPosition(), side.audible[2].start);
    expectOutput (device->runBlocks (2), 0, sideAudio, (int) side.audible[2].start, 1024);

    // Space stops it, the sound card taking notice.
    {
        auto blocks = device->runBlocksInBackground();
        window->view.keyPressed (juce::KeyPress (juce::KeyPress::spaceKey));
    }
    EXPECT_FALSE (player.isPlaying());

    // Cut where the songs meet instead.
    std::vector<juce::int64> marks{ (side.audible[0].end + side.audible[1].start) / 2,
                                    (side.audible[1].end + side.audible[2].start) / 2 };
    window->view.setMarks (marks);
    ASSERT_TRUE (window->apply());
    ASSERT_EQ (project->trackCount(), 3);
    expectTheSideCutAt (marks, trackPaths (*project));
    EXPECT_TRUE (first.existsAsFile());
    EXPECT_TRUE (second.existsAsFile());
    EXPECT_EQ (window->view.getTracks().size(), 3u);
    EXPECT_EQ (window->view.getTracks()[2].name, project->trackName (2));
}

TEST_F (SideWindowTest, theTrackListsEntryShowsTheWindowAndItsApplyReachesTheList)
{
    captureTheSideBadly();
    TrackList list (project.get());
    list.setSize (210, 110);
    list.updateContent();
    int told = 0;
    list.onTracksReplaced = [&told] { ++told; };

    // The window shows through the dialog seam; the user puts a mark between each pair of songs.
    std::vector<juce::int64> marks;
    for (size_t j = 0; j + 1 < side.audible.size(); ++j)
        marks.push_back (side.audible[j + 1].start - 22050);
    dialogs.onDialog = [&] (juce::Component& content)
    {
        auto* shown = dynamic_cast<SideWindow*> (&content);
        ASSERT_NE (shown, nullptr);
        EXPECT_EQ (shown->getTitle(), "The side: Side1.wav");
        shown->view.setMarks (marks);
        EXPECT_TRUE (shown->apply());
    };

    list.runMenuEntry (TrackList::showSideEntry, 1);

    ASSERT_EQ (dialogs.dialogs().size(), 1u);
    EXPECT_EQ (dialogs.dialogs()[0].title, "The side: Side1.wav");
    EXPECT_EQ (dialogs.dialogs()[0].contentBounds.getWidth(), SideWindow::width);
    EXPECT_EQ (told, 1);
    EXPECT_EQ (list.getNumRows(), 6);
    expectTheSideCutAt (marks, trackPaths (*project));

    // Closed without an Apply: the list is told nothing.
    dialogs.onDialog = nullptr;
    list.runMenuEntry (TrackList::showSideEntry, 0);
    EXPECT_EQ (told, 1);
}

TEST_F (SideWindowTest, anUnreadableRowIsToldAndNoWindowShows)
{
    project->projectType = encodeProject;
    const auto broken = makeFile (folder, "broken.wav", "no audio in here");
    project->addTrack (broken.getFullPathName(), formatWav);

    TrackList list (project.get());
    list.runMenuEntry (TrackList::showSideEntry, 0);

    EXPECT_TRUE (dialogs.dialogs().empty());
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Groove Smith : Error");
    EXPECT_EQ (dialogs.alerts()[0].message, "This audio could not be read: " + broken.getFullPathName());
}

//==============================================================================
namespace
{
class TranslatedSideWindow : public SideWindowTest, public ::testing::WithParamInterface<const char*>
{
};
} // namespace

TEST_P (TranslatedSideWindow, speaksTheLanguageWithNothingCutOffAndIsPictured)
{
    const juce::String code = GetParam();
    juce::File copied;
    std::unique_ptr<juce::LocalisedStrings> strings;

    if (code != "en")
    {
        // The shipped file, under a code of the test's own.
        const auto ownCode = code + "-" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
        copied = Project::programFolder().getChildFile ("lang-" + ownCode + ".txt");
        ASSERT_TRUE (juce::File (GROOVESMITH_SOURCE_DIR)
                         .getChildFile ("resources/lang/lang-" + code + ".txt")
                         .copyFileTo (copied));
        strings = std::make_unique<juce::LocalisedStrings> (copied, false);
        project.reset();
        {
            Project settingsWriter;
            settingsWriter.getSettings().setValue ("lang", ownCode);
        }
        project = std::make_unique<Project>();
        project->projectType = ripProject;
        device = FakeAudioDeviceType::install (*project, 2, 44100.0, 512);
    }

    // The program's own look, as its windows have it.
    GrooveLookAndFeel look;
    juce::LookAndFeel::setDefaultLookAndFeel (&look);
    struct Restore
    {
        ~Restore() { juce::LookAndFeel::setDefaultLookAndFeel (nullptr); }
    } restore;

    captureTheSideBadly();
    openWindow (0);
    const juce::String hint = "Click on the sound to play it from there, Space stops it. Drag a cut mark to move it, "
                              "double click to add one, right click on a mark to remove it. Apply cuts the tracks at "
                              "the marks.";
    const auto fit = TextFit::check (*window);
    EXPECT_TRUE (fit.cutOff.isEmpty()) << fit.cutOff.joinIntoString ("\n");
    EXPECT_TRUE (fit.shrunk.isEmpty()) << fit.shrunk.joinIntoString ("\n");
    EXPECT_TRUE (fit.overlapping.isEmpty()) << fit.overlapping.joinIntoString ("\n");

    if (strings != nullptr)
    {
        for (const auto* text : { "Apply", "close", "Whole side" })
            EXPECT_NE (strings->translate (text), text);
        EXPECT_EQ (window->applyButton.getButtonText(), strings->translate ("Apply"));
        EXPECT_EQ (window->closeButton.getButtonText(), strings->translate ("close"));
        EXPECT_EQ (window->wholeButton.getButtonText(), strings->translate ("Whole side"));
        EXPECT_EQ (window->getTitle(), strings->translate ("The side") + ": Side1.wav");
        EXPECT_EQ (window->hintLabel.getText(), strings->translate (hint));
        EXPECT_NE (window->hintLabel.getText(), hint);
    }
    else
    {
        EXPECT_EQ (window->hintLabel.getText(), hint);
    }

    // A picture of the window, for a person to look at: the names readable, nothing cut off.
    window->view.zoomIn ((float) columnOf (places[1].first));
    EXPECT_TRUE (saveSnapshot (*window, "side-window-" + code).existsAsFile());

    window.reset();
    if (copied != juce::File())
        copied.deleteFile();
}

INSTANTIATE_TEST_SUITE_P (Languages, TranslatedSideWindow, ::testing::Values ("en", "fr", "de"));
