// Sides as hard as real records: where the song finder cuts them, with the number of songs and
// without it, and where the capture's own silence rule cuts them at the threshold that Calibrate
// gives over the quiet groove. Each test prints its rows of the table:
//   side | way | songs | tracks | cuts inside a song | boundaries missed | songs with audio lost
// A cut is at a boundary when it lies between two songs' audible sound, or within a second of
// it; a song keeps its audio when all of its audible sound is in one track. Audible sound is
// where the song stands less than 20 dB under the surface noise.
#include "capture/Audio.h"
#include "capture/AudioCallback.h"
#include "capture/TrackWriter.h"
#include "editing/SongFinder.h"
#include "project/Project.h"
#include "support/FakeAudioDevice.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include "RecordSides.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

using namespace recordsides;

namespace
{
struct Tally
{
    int songs = 0;
    int tracks = 0;
    int wrongCuts = 0; // cuts that are at no boundary: inside a song, or in the lead-in or lead-out
    int missed = 0;    // boundaries with no cut
    int lost = 0;      // songs whose audible sound is not all in one track
};

/** Counts the cuts, at side positions, and the songs kept whole. */
Tally judge (const Side& side, const std::vector<juce::int64>& cuts, int tracks,
             const std::function<bool (size_t song)>& whole)
{
    Tally tally;
    tally.songs = (int) side.audible.size();
    tally.tracks = tracks;

    const auto second = (juce::int64) side.rate;
    std::vector<bool> found (side.audible.size(), false);

    for (const auto cut : cuts)
    {
        bool atBoundary = false;
        for (size_t j = 0; j + 1 < side.audible.size(); ++j)
        {
            if (! found[j] && cut >= side.audible[j].end - second && cut <= side.audible[j + 1].start + second)
            {
                found[j] = atBoundary = true;
                break;
            }
        }
        tally.wrongCuts += atBoundary ? 0 : 1;
    }

    for (size_t j = 0; j + 1 < side.audible.size(); ++j)
        tally.missed += found[j] ? 0 : 1;

    for (size_t s = 0; s < side.audible.size(); ++s)
        tally.lost += whole (s) ? 0 : 1;

    return tally;
}

void printRow (const juce::String& side, const juce::String& way, const Tally& tally)
{
    std::printf ("| %-46s | %-38s | %2d | %2d | %2d | %2d | %2d |\n", side.toRawUTF8(), way.toRawUTF8(), tally.songs,
                 tally.tracks, tally.wrongCuts, tally.missed, tally.lost);
    std::fflush (stdout);
}

/** The finder's cuts of the whole side, judged: a song is whole when no cut falls in it. */
Tally findOnTheSide (const Side& side, const SongFinder& finder, int songs)
{
    const auto cuts = finder.findCuts (songs);
    if (! cuts.has_value())
        return { (int) side.audible.size(), 0, 0, (int) side.audible.size() - 1, 0 };

    return judge (side, *cuts, (int) cuts->size() + 1,
                  [&] (size_t s)
                  {
                      for (const auto cut : *cuts)
                          if (cut > side.audible[s].start && cut < side.audible[s].end)
                              return false;
                      return true;
                  });
}

//==============================================================================
/**
    The capture engine with the tests' sound card, fed the side block by block as a device
    would: Calibrate over the quiet groove first, then Capture with the settings' defaults
    (gap 2 s, end of stream 15 s). Each block that reaches a file is noted with its place in the
    side, so that the tracks can be laid over the songs.
*/
class CaptureOfASide : private juce::ActionListener
{
public:
    static constexpr int blockSize = 512;

    struct Written
    {
        juce::int64 sideFrame; // where the block starts in the side
        juce::String file;     // the track file it went to
    };

    CaptureOfASide (const SideSpec& spec, const Side& side)
    {
        folder = freshFolder ("capture-" + spec.name.retainCharacters ("abcdefghijklmnopqrstuvwxyz0123456789"));
        project = std::make_unique<Project>();
        device = FakeAudioDeviceType::install (*project, 2, side.rate, blockSize);
        project->captureFolder = folder.getFullPathName();
        project->setPreamp (true);
        project->setMinSilence (2);
        project->setSilenceLength (15);
        AudioCallback::setClock (&clock);
        audio = Audio::getInstance (project.get(), this);

        // Calibrate over five seconds of the quiet groove.
        const auto groove = quietGroove (spec, 6.0);
        audio->start (false);
        project->setCalibrationRequested (true);
        for (size_t i = 0; i + blockSize <= groove[0].size() && ! ended(); i += blockSize)
            feed (groove[0].data() + i, groove[1].data() + i);
        audio->stop(); // at once, as the engine's own thread would half a second later
        waitForEnd();
        threshold = project->threshold;

        // Capture the side.
        events.clear();
        audio->start (true);
        for (juce::int64 i = 0; i + blockSize <= side.frames(); i += blockSize)
        {
            auto* writer = TrackWriter::getInstance ({}, -1, 0);
            const auto before = writer != nullptr ? writer->getFileName() : juce::String();
            const int beforeCount = writer != nullptr ? writer->getSamplesWritten() : 0;

            feed (side.left.data() + i, side.right.data() + i);

            writer = TrackWriter::getInstance ({}, -1, 0);
            if (writer != nullptr && writer->getSamplesWritten() > 0 &&
                (writer->getFileName() != before || writer->getSamplesWritten() > beforeCount))
                written.push_back ({ i, writer->getFileName() });
        }

        // Stopped by the user at the end of the side, or ended by the silence rule.
        audio->stop();
        waitForEnd();
    }

    ~CaptureOfASide() override
    {
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        AudioCallback::setClock (nullptr);
        project.reset();
        folder.deleteRecursively();
    }

    /** The tracks as stretches of the side, in order. */
    std::vector<Span> tracks() const
    {
        std::vector<Span> spans;
        for (size_t i = 0; i < written.size(); ++i)
        {
            if (i == 0 || written[i].file != written[i - 1].file || written[i].sideFrame != spans.back().end)
                spans.push_back ({ written[i].sideFrame, written[i].sideFrame });
            spans.back().end = written[i].sideFrame + blockSize;
        }
        return spans;
    }

    Tally judgeTracks (const Side& side) const
    {
        const auto spans = tracks();
        std::vector<juce::int64> cuts;
        for (size_t k = 0; k + 1 < spans.size(); ++k)
            cuts.push_back ((spans[k].end + spans[k + 1].start) / 2);

        return judge (side, cuts, (int) spans.size(),
                      [&] (size_t s)
                      {
                          for (const auto& track : spans)
                              if (track.start <= side.audible[s].start && track.end >= side.audible[s].end)
                                  return true;
                          return false;
                      });
    }

    /** What the finder makes of the captured tracks joined, as the rows of the track list are
        when no side file is known: the cuts laid back over the side. */
    Tally findOnTheTracks (const Side& side, int songs) const
    {
        SongFinder finder (side.rate);
        for (size_t i = 1; i < written.size(); ++i)
            if (written[i].file != written[i - 1].file)
                finder.addJunction ((juce::int64) i * blockSize);
        for (const auto& block : written)
            finder.addBlock (side.left.data() + block.sideFrame, side.right.data() + block.sideFrame, blockSize);

        const auto found = finder.findCuts (songs);
        if (! found.has_value())
            return { (int) side.audible.size(), 0, 0, (int) side.audible.size() - 1, 0 };

        const auto sideFrame = [&] (juce::int64 joined)
        {
            const auto block =
                (size_t) juce::jlimit ((juce::int64) 0, (juce::int64) written.size() - 1, joined / blockSize);
            return written[block].sideFrame + joined % blockSize;
        };

        std::vector<juce::int64> cuts;
        for (const auto cut : *found)
            cuts.push_back (sideFrame (cut));

        return judge (side, cuts, (int) found->size() + 1,
                      [&] (size_t s)
                      {
                          // Every block of the song was written, and all of them into one track.
                          const auto& span = side.audible[s];
                          juce::int64 first = -1, last = -1;
                          for (auto frame = span.start - span.start % blockSize; frame < span.end; frame += blockSize)
                          {
                              const auto it =
                                  std::lower_bound (written.begin(), written.end(), frame,
                                                    [] (const Written& w, juce::int64 f) { return w.sideFrame < f; });
                              if (it == written.end() || it->sideFrame != frame)
                                  return false;
                              const auto joined = (juce::int64) (it - written.begin()) * blockSize;
                              first = first < 0 ? joined : first;
                              last = joined + blockSize;
                          }
                          for (const auto cut : *found)
                              if (cut > first && cut < last)
                                  return false;
                          return true;
                      });
    }

    int threshold = 0;

private:
    void actionListenerCallback (const juce::String& message) override { events.add (message); }

    bool ended() const { return audio->getStatus().phase != CaptureStatus::running; }

    void feed (const float* left, const float* right)
    {
        device->deliver ({ const_cast<float*> (left), const_cast<float*> (right) }, { out[0], out[1] }, blockSize);
    }

    void waitForEnd()
    {
        const auto until = juce::Time::getMillisecondCounter() + 20000;
        while (! events.contains ("END") && juce::Time::getMillisecondCounter() < until)
            juce::MessageManager::getInstance()->runDispatchLoopUntil (5);
    }

    static juce::int64 clock()
    {
        static juce::int64 now = 7000000;
        return ++now;
    }

    FakeDialogs dialogs; // answers "End Capture"
    juce::File folder;
    std::unique_ptr<Project> project;
    FakeAudioDevice* device = nullptr;
    Audio* audio = nullptr;
    juce::StringArray events;
    float out[2][blockSize] = {};
    std::vector<Written> written;
};

//==============================================================================
std::vector<SideSpec> sides()
{
    std::vector<SideSpec> all;

    const auto song = [] (double seconds, double db, bool intro = false, bool fadeIn = false, bool soft = false,
                          bool fadeOut = true) { return Song{ seconds, db, intro, fadeIn, soft, fadeOut }; };

    // The four sides measured on real records, and the ends of the noise and level ranges.
    {
        SideSpec s;
        s.name = "gaps 2.5 s, noise -50 dBFS";
        s.noiseDb = -50.0;
        s.songs = { song (11, -17),
                    song (15, -17, true),
                    song (14, -18, false, false, true),
                    song (11, -16, false, true),
                    song (10, -17, false, false, false, false),
                    song (17, -18, true, false, true) };
        s.gaps = { 2.5, 2.5, 2.5, 2.5, 2.5 };
        s.seed = 101;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "gaps 1.5 s, noise -60 dBFS";
        s.noiseDb = -60.0;
        s.songs = {
            song (14, -20, true),        song (13, -20, false, false, true),        song (10, -21),
            song (11, -19, false, true), song (15, -20, true, false, false, false), song (14, -20, false, false, true)
        };
        s.gaps = { 1.5, 1.5, 1.5, 1.5, 1.5 };
        s.seed = 202;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "gaps 2-4 s, noise -45 dBFS, songs 0-6 dB apart";
        s.noiseDb = -45.0;
        s.songs = { song (10, -14),
                    song (14, -20, false, false, true),
                    song (13, -16, true),
                    song (10, -18, false, true),
                    song (10, -15, false, false, false, false),
                    song (14, -20, false, false, true),
                    song (13, -17, true),
                    song (10, -19) };
        s.gaps = { 2.0, 3.5, 2.5, 4.0, 2.0, 3.0, 2.5 };
        s.seed = 303;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "gaps 3 s, one song 10 dB quieter";
        s.noiseDb = -55.0;
        s.songs = { song (11, -16), song (14, -16, false, false, true), song (15, -26, true, false, true),
                    song (11, -16, false, true), song (10, -16, false, false, false, false) };
        s.gaps = { 3.0, 3.0, 3.0, 3.0 };
        s.seed = 404;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "noise -70 dBFS, music -30 dBFS, gaps 1-2 s";
        s.noiseDb = -70.0;
        s.songs = { song (14, -30, true), song (14, -30, false, false, true), song (10, -30, false, true),
                    song (11, -30, false, false, false, false), song (10, -30) };
        s.gaps = { 1.0, 2.0, 1.5, 1.0 };
        s.seed = 505;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "noise -40 dBFS, music -10 dBFS, gaps 1-4 s";
        s.noiseDb = -40.0;
        s.songs = { song (14, -10, true), song (14, -10, false, false, true), song (10, -10, false, true),
                    song (10, -10, false, false, false, false), song (14, -10, true, false, true) };
        s.gaps = { 1.0, 4.0, 2.0, 1.5 };
        s.seed = 606;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "noise -70 dBFS, music -10 dBFS, gaps 1-3 s";
        s.noiseDb = -70.0;
        s.songs = { song (14, -10, true), song (10, -10, false, true), song (14, -10, false, false, true),
                    song (10, -10, false, false, false, false) };
        s.gaps = { 3.0, 1.0, 2.0 };
        s.seed = 707;
        all.push_back (s);
    }
    {
        SideSpec s;
        s.name = "noise -40 dBFS, music -20 dBFS, gaps 1-3 s";
        s.noiseDb = -40.0;
        s.songs = { song (14, -20, true), song (14, -20, false, false, true), song (10, -20, false, true),
                    song (10, -20, false, false, false, false), song (10, -20) };
        s.gaps = { 1.0, 3.0, 2.0, 1.5 };
        s.seed = 808;
        all.push_back (s);
    }

    {
        SideSpec s;
        s.name = "noise -40 dBFS, music -30 dBFS, gaps 1-2 s";
        s.noiseDb = -40.0;
        s.songs = { song (14, -30, true), song (14, -30, false, false, true), song (10, -30, false, true),
                    song (11, -30, false, false, false, false), song (14, -30, true, false, true) };
        s.gaps = { 1.0, 2.0, 1.5, 1.0 };
        s.seed = 909;
        all.push_back (s);
    }

    return all;
}

class SongSides : public ::testing::TestWithParam<SideSpec>
{
};

std::string testName (const ::testing::TestParamInfo<SideSpec>& info)
{
    return (juce::String::charToString ((juce::juce_wchar) ('A' + info.index)) + "_" +
            info.param.name.retainCharacters ("abcdefghijklmnopqrstuvwxyz0123456789 ").replaceCharacter (' ', '_'))
        .toStdString();
}
} // namespace

//==============================================================================
TEST_P (SongSides, theSongsAreFoundWithTheirNumberAndWithoutIt)
{
    const auto& spec = GetParam();
    const auto side = render (spec);
    const int songs = (int) spec.songs.size();

    SongFinder finder (side.rate);
    for (juce::int64 i = 0; i < side.frames(); i += 16384)
        finder.addBlock (side.left.data() + i, side.right.data() + i,
                         (int) juce::jmin ((juce::int64) 16384, side.frames() - i));

    const auto withNumber = findOnTheSide (side, finder, songs);
    const auto without = findOnTheSide (side, finder, 0);

    const CaptureOfASide capture (spec, side);
    const auto before = capture.judgeTracks (side);
    const auto joinedWithNumber = capture.findOnTheTracks (side, songs);
    const auto joinedWithout = capture.findOnTheTracks (side, 0);

    printRow (spec.name, "capture's silence rule, threshold " + juce::String (capture.threshold), before);
    printRow (spec.name, "side file, with the number", withNumber);
    printRow (spec.name, "side file, without it", without);
    printRow (spec.name, "captured rows joined, with the number", joinedWithNumber);
    printRow (spec.name, "captured rows joined, without it", joinedWithout);

    // With the number: every boundary, no other cut, no song's audio lost.
    EXPECT_EQ (withNumber.tracks, songs);
    EXPECT_EQ (withNumber.wrongCuts, 0);
    EXPECT_EQ (withNumber.missed, 0);
    EXPECT_EQ (withNumber.lost, 0);

    // Without it: at most one mistake on the side.
    EXPECT_LE (without.wrongCuts + without.missed, 1);
    EXPECT_LE (without.lost, without.wrongCuts);
}

INSTANTIATE_TEST_SUITE_P (Records, SongSides, ::testing::ValuesIn (sides()), testName);
