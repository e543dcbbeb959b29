// A real side, short gaps and quiet intros and all, becomes a tagged album as its user would make
// it: a capture through the wizard's window on a JACK server into which the tests' record player
// plays the side, which the capture's silence rule cuts wrongly; "find the songs..." with their
// number and "titles from the sleeve..." from the track list's menu; FLAC. Each file is named and
// tagged by its title and holds exactly one song.
#include "capture/CaptureTestSupport.h"
#include "capture/JackWizard.h"
#include "capture/Page1.h"
#include "editing/Page2.h"
#include "editing/RecordSides.h"
#include "editing/TrackPageFixture.h"
#include "encoding/AudioFiles.h"
#include "project/SideRecord.h"

#include <string>

namespace
{
/** Four songs with gaps of a second and a half, two of them with quiet intros and one with a
    soft passage: the capture loses the intros and cuts the soft passage off its song. */
recordsides::Side fourSongs()
{
    recordsides::SideSpec spec;
    spec.name = "four songs";
    spec.noiseDb = -55.0;
    spec.songs = { recordsides::Song{ 10.0, -18.0 }, recordsides::Song{ 11.0, -20.0, true },
                   recordsides::Song{ 10.0, -17.0, false, true },
                   recordsides::Song{ 12.0, -19.0, true, false, true, false } };
    spec.gaps = { 1.5, 1.6, 1.4 };
    spec.seed = 2468;
    return recordsides::render (spec);
}

/** The side as 16-bit stereo frames, left and right in turn, for the record player. */
std::vector<juce::int16> quantised (const recordsides::Side& side)
{
    std::vector<juce::int16> samples;
    samples.reserve ((size_t) side.frames() * 2);
    for (juce::int64 i = 0; i < side.frames(); ++i)
        for (const auto* channel : { &side.left, &side.right })
            samples.push_back (
                (juce::int16) std::lround (juce::jlimit (-1.0f, 1.0f, (*channel)[(size_t) i]) * 32767.0f));
    return samples;
}

/** The first frame with a sample other than zero. */
juce::int64 firstSound (const std::vector<int>& left, const std::vector<int>& right)
{
    for (size_t i = 0; i < left.size(); ++i)
        if (left[i] != 0 || right[i] != 0)
            return (juce::int64) i;
    return -1;
}

/** How many songs do not lie whole inside one of the stretches. */
int songsNotWhole (const recordsides::Side& side, const std::vector<juce::Range<juce::int64>>& stretches)
{
    int broken = 0;
    for (const auto& song : side.audible)
    {
        bool whole = false;
        for (const auto& stretch : stretches)
            whole = whole || (stretch.getStart() <= song.start && stretch.getEnd() >= song.end);
        broken += whole ? 0 : 1;
    }
    return broken;
}
} // namespace

TEST (SideToAlbumJack, aSideTheCaptureCutsWronglyEndsAsOneFlacASongNamedFromTheSleeve)
{
    const auto python = audiofiles::runTool ({ audiofiles::pythonWithMutagen(), "-c", "import mutagen" });
    ASSERT_EQ (python.exitCode, 0) << "mutagen is missing: install python3-mutagen (script/setup installs it)";
    REQUIRE_TOOL ("flac", "flac");

    const auto folder = testHome().getChildFile ("side to album");
    ASSERT_TRUE (folder.createDirectory());

    // The side, written for the record player.
    const auto side = fourSongs();
    const auto pcm = folder.getChildFile ("side.pcm");
    {
        const auto samples = quantised (side);
        ASSERT_TRUE (pcm.replaceWithData (samples.data(), samples.size() * sizeof (juce::int16)));
    }
    ASSERT_FALSE (pcm.getFullPathName().containsAnyOf (",:"));

    FakeDialogs dialogs;
    JackWizard jack;
    ASSERT_NO_FATAL_FAILURE (jack.start ("sides", folder));
    auto* wizard = jack.wizard;
    auto& project = wizard->getProject();

    // The settings go back to their defaults for the tests that follow in this process.
    const RestoredSettings restoreSettings{ project };

    ASSERT_NE (project.getCurrentAudioDevice(), nullptr);
    project.setRootDirectory (folder.getFullPathName());
    project.setPreamp (true);
    project.setMinSilence (2);
    project.setSilenceLength (8);
    project.setThreshold (5); // what Calibrate gives over this groove
    project.setOutputFormat (formatFlac);
    project.artist = "The Testers";
    project.album = "Side Street";

    clickAndWait (wizard->nextButton);
    clickAndWait (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 2);
    dialogs.answer ("Yes");
    clickAndWait (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 3);
    const auto albumFolder = folder.getChildFile ("The Testers - Side Street");

    // Capture, the record player playing the side and then silence enough to end the run.
    auto& capturePage = *wizard->page1;
    clickAndWait (capturePage.captureButton);
    ASSERT_TRUE (capturePage.isCapturing());
    const auto record = "pcm:" + pcm.getFullPathName().toStdString() + ",silence:" + std::to_string (9 * serverRate);
    juce::ChildProcess player;
    ASSERT_TRUE (player.start (juce::StringArray{ GROOVESMITH_RECORD_PLAYER, "--record", record.c_str(), "--freewheel",
                                                  "--cycle-sleep-us", "2000" }));
    const bool ended = pumpUntil ([&] { return ! project.captureRunning && ! capturePage.isCapturing(); }, 240000);
    const auto output = player.readAllProcessOutput();
    player.waitForProcessToFinish (60000);
    ASSERT_TRUE (ended) << "player: " << output;
    ASSERT_GT (project.trackCount(), 0);

    // Where the side begins in the side file, and what the capture's rule made of it.
    const auto sideRecord = SideRecord::findFor (project.trackPath (0));
    ASSERT_TRUE (sideRecord.has_value());
    const auto sideFile = readWav (sideRecord->getSideFile());
    ASSERT_TRUE (sideFile.valid);
    const auto quantisedSide = quantised (side);
    std::vector<int> pcmLeft, pcmRight;
    for (size_t i = 0; i < quantisedSide.size(); i += 2)
    {
        pcmLeft.push_back (quantisedSide[i]);
        pcmRight.push_back (quantisedSide[i + 1]);
    }
    const auto offset = firstSound (sideFile.left, sideFile.right) - firstSound (pcmLeft, pcmRight);
    ASSERT_GE (offset, 0);

    std::vector<juce::Range<juce::int64>> captured;
    for (const auto& place : sideRecord->getPlaces())
        captured.push_back ({ place.first - offset, place.first + place.length - offset });
    const int capturedTracks = project.trackCount();
    const int brokenByTheCapture = songsNotWhole (side, captured);
    std::cout << "the capture's rule: " << capturedTracks << " tracks, " << brokenByTheCapture
              << " of 4 songs not whole in one track" << std::endl;
    EXPECT_GT (brokenByTheCapture, 0);

    // The track page; its list's menu, as the right click opens it.
    clickAndWait (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 4);
    auto* trackPage = dynamic_cast<Page2*> (MainComponent::pages[4]);
    ASSERT_NE (trackPage, nullptr);
    auto& list = trackPage->trackList;
    int entry = 0;
    list.showMenu = [&entry] (juce::PopupMenu&) { return entry; };

    entry = TrackList::findSongsEntry;
    dialogs.answer ("ok", { "4" });
    trackpage_test::clickRow (list, capturedTracks - 1, trackpage_test::rightButton);
    ASSERT_EQ (project.trackCount(), 4);

    entry = TrackList::sleeveTitlesEntry;
    dialogs.answer ("ok", { "Side A\n\nA1. Morning Walk 3:12\nA2 Night Drive (4:02)\nB1 - Harbour Lights\n"
                            "B2) Last Call 5:40\n" });
    trackpage_test::clickRow (list, 0, trackpage_test::rightButton);
    const juce::StringArray titles{ "Morning Walk", "Night Drive", "Harbour Lights", "Last Call" };
    for (int row = 0; row < 4; ++row)
        EXPECT_EQ (project.trackName (row), titles[row]);

    // FLAC.
    clickAndWait (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 5);
    const auto alertsBefore = dialogs.alerts().size();
    clickAndWait (wizard->nextButton);
    EXPECT_EQ (MainComponent::currentPage, 6);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);

    juce::StringArray names;
    for (const auto& file : albumFolder.findChildFiles (juce::File::findFiles, false, "*.flac"))
        names.add (file.getFileName());
    names.sort (false);
    ASSERT_EQ (names,
               juce::StringArray ({ "01 - The Testers - Morning Walk.flac", "02 - The Testers - Night Drive.flac",
                                    "03 - The Testers - Harbour Lights.flac", "04 - The Testers - Last Call.flac" }));

    // Each file's title and number, and the stretch of the side it holds.
    std::vector<juce::Range<juce::int64>> tracks;
    juce::int64 position = -offset;
    std::vector<int> joinedLeft, joinedRight;
    for (int i = 0; i < 4; ++i)
    {
        const auto file = albumFolder.getChildFile (names[i]);
        SCOPED_TRACE (names[i].toStdString());
        const auto tags = audiofiles::mutagenTags (file);
        EXPECT_EQ (audiofiles::mutagenField (tags, "title"), titles[i]);
        EXPECT_EQ (audiofiles::mutagenField (tags, "tracknumber"), juce::String (i + 1));
        EXPECT_EQ (audiofiles::mutagenField (tags, "artist"), "The Testers");

        const auto decoded = audiofiles::decodeWithFlac (file, 2);
        ASSERT_EQ (decoded.size(), 2u);
        joinedLeft.insert (joinedLeft.end(), decoded[0].begin(), decoded[0].end());
        joinedRight.insert (joinedRight.end(), decoded[1].begin(), decoded[1].end());
        tracks.push_back ({ position, position + (juce::int64) decoded[0].size() });
        position += (juce::int64) decoded[0].size();
    }

    // Together they are the side file, sample for sample: nothing lost, nothing added.
    EXPECT_TRUE (joinedLeft == sideFile.left);
    EXPECT_TRUE (joinedRight == sideFile.right);

    // Each holds one song whole, and no sound of another.
    for (size_t i = 0; i < 4; ++i)
    {
        EXPECT_LE (tracks[i].getStart(), side.audible[i].start) << i;
        EXPECT_GE (tracks[i].getEnd(), side.audible[i].end) << i;
        if (i > 0)
        {
            EXPECT_GE (tracks[i].getStart(), side.audible[i - 1].end) << i;
        }
        if (i < 3)
        {
            EXPECT_LE (tracks[i].getEnd(), side.audible[i + 1].start) << i;
        }
    }
    EXPECT_EQ (songsNotWhole (side, tracks), 0);
}
