// A record becomes a tagged album, the whole way through the wizard: the album data and a front
// cover, a capture through a JACK server on the dummy backend into which the tests' client plays
// three songs, the track page, FLAC on the format page, and the encode run, which leaves the
// cover inside each file, their ReplayGain (next to loudgain's) and the album's playlist.
#include "capture/CaptureTestSupport.h"
#include "capture/JackWizard.h"
#include "capture/Page1.h"
#include "encoding/AudioFiles.h"
#include "support/WizardFixture.h"

#include <map>

namespace
{
constexpr int second = serverRate;
} // namespace

TEST (RipToAlbumJack, aCapturedRecordEndsAsATaggedFlacAlbumWithItsCover)
{
    const auto python = audiofiles::runTool ({ audiofiles::pythonWithMutagen(), "-c", "import mutagen" });
    ASSERT_EQ (python.exitCode, 0) << "mutagen is missing: install python3-mutagen (script/setup installs it)";
    REQUIRE_TOOL ("flac", "flac");
    REQUIRE_TOOL ("loudgain", "loudgain");

    const auto folder = testHome().getChildFile ("rip to album");
    ASSERT_TRUE (folder.createDirectory());

    FakeDialogs dialogs;
    JackWizard jack;
    ASSERT_NO_FATAL_FAILURE (jack.start ("album", folder));
    auto* wizard = jack.wizard;

    auto& project = wizard->getProject();

    // The settings go back to their defaults for the tests that follow in this process.
    const RestoredSettings restoreSettings{ project };

    ASSERT_NE (project.getCurrentAudioDevice(), nullptr);
    project.setRootDirectory (folder.getFullPathName());
    project.setMinSilence (1);
    project.setSilenceLength (3);
    // The threshold a calibration over the record's silent lead-in gives.
    project.setThreshold (10);
    project.setOutputFormat (formatFlac);

    // What the album page holds once the user has filled it in.
    project.artist = "The Testers";
    project.album = "Dummy Backend";
    project.year = "1984";
    project.genre = "Jazz";
    const auto cover = folder.getChildFile ("sleeve.jpg");
    {
        juce::Image picture (juce::Image::RGB, 32, 32, true);
        picture.clear (picture.getBounds(), juce::Colours::darkred);
        juce::FileOutputStream stream (cover);
        juce::JPEGImageFormat().writeImageToStream (picture, stream);
    }
    project.frontCover = cover;

    const auto click = [] (juce::Button& button)
    {
        button.triggerClick();
        pumpMessages();
    };

    click (wizard->nextButton);
    click (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 2);
    dialogs.answer ("Yes");
    click (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 3);
    const auto albumFolder = folder.getChildFile ("The Testers - Dummy Backend");
    ASSERT_EQ (project.captureFolder, albumFolder.getFullPathName());

    const std::string record = "silence:" + std::to_string (second / 2) + "," +
                               toneSegment (440, 660, 0.5, 3 * second) + ",silence:" + std::to_string (2 * second) +
                               ",noise:0.3:11:" + std::to_string (2 * second) +
                               ",silence:" + std::to_string (2 * second) + "," +
                               toneSegment (330, 550, 0.4, 3 * second) + ",silence:" + std::to_string (5 * second);

    auto& page = *wizard->page1;
    click (page.captureButton);
    ASSERT_TRUE (page.isCapturing());

    juce::ChildProcess player;
    ASSERT_TRUE (player.start (juce::StringArray{ GROOVESMITH_RECORD_PLAYER, "--record", record.c_str(), "--freewheel",
                                                  "--cycle-sleep-us", "2000" }));
    const bool ended = pumpUntil ([&] { return ! project.captureRunning && ! page.isCapturing(); }, 120000);
    const auto output = player.readAllProcessOutput();
    player.waitForProcessToFinish (60000);
    ASSERT_TRUE (ended) << "player: " << output;
    ASSERT_EQ (project.trackCount(), 3);

    click (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 4);
    click (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 5);
    const auto alertsBefore = dialogs.alerts().size();
    click (wizard->nextButton);

    EXPECT_EQ (MainComponent::currentPage, 6);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);

    juce::StringArray names;
    for (const auto& file : albumFolder.findChildFiles (juce::File::findFiles, false))
        names.add (file.getFileName());
    names.sort (false);
    EXPECT_EQ (names, juce::StringArray ({ "01 - The Testers - Track1.flac", "02 - The Testers - Track2.flac",
                                           "03 - The Testers - Track3.flac", "Dummy Backend.m3u8", "Front.jpg" }));
    EXPECT_TRUE (albumFolder.getChildFile ("Front.jpg").hasIdenticalContentTo (cover));

    // loudgain measures the album that came out, as one album.
    juce::StringArray loudgain{ "loudgain", "-a", "-q", "-O" };
    for (int i = 1; i <= 3; ++i)
        loudgain.add (
            albumFolder.getChildFile ("0" + juce::String (i) + " - The Testers - Track" + juce::String (i) + ".flac")
                .getFullPathName());
    const auto measured = audiofiles::runTool (loudgain);
    std::map<juce::String, double> reference;
    for (const auto& line : juce::StringArray::fromLines (measured.output))
    {
        const auto fields = juce::StringArray::fromTokens (line, "\t", {});
        if (fields.size() >= 11 && fields[0] != "File")
            reference[juce::File (fields[0]).getFileName()] = fields[8].getDoubleValue();
    }
    ASSERT_EQ (reference.size(), 4u) << measured.output;

    for (int i = 1; i <= 3; ++i)
    {
        const auto file =
            albumFolder.getChildFile ("0" + juce::String (i) + " - The Testers - Track" + juce::String (i) + ".flac");
        SCOPED_TRACE (file.getFileName().toStdString());
        const auto test = audiofiles::runTool ({ "flac", "-t", "-s", file.getFullPathName() });
        EXPECT_EQ (test.exitCode, 0) << test.output;

        const auto tags = audiofiles::mutagenTags (file);
        EXPECT_EQ (audiofiles::mutagenField (tags, "title"), "Track" + juce::String (i)) << juce::JSON::toString (tags);
        EXPECT_EQ (audiofiles::mutagenField (tags, "artist"), "The Testers");
        EXPECT_EQ (audiofiles::mutagenField (tags, "album"), "Dummy Backend");
        EXPECT_EQ (audiofiles::mutagenField (tags, "date"), "1984");
        EXPECT_EQ (audiofiles::mutagenField (tags, "genre"), "Jazz");
        EXPECT_EQ (audiofiles::mutagenField (tags, "tracknumber"), juce::String (i));

        // The front cover inside, byte for byte; the gains within 0.1 dB of loudgain's.
        const auto inside = audiofiles::runTool (
            { audiofiles::pythonWithMutagen(), "-c",
              "import sys, mutagen\n"
              "f = mutagen.File (sys.argv[1])\n"
              "p = f.pictures\n"
              "ok = len (p) == 1 and p[0].type == 3 and p[0].mime == 'image/jpeg' and p[0].data == open (sys.argv[2], "
              "'rb').read()\n"
              "print ('cover inside' if ok else 'no cover: %d pictures' % len (p))",
              file.getFullPathName(), cover.getFullPathName() });
        EXPECT_EQ (inside.output.trim(), "cover inside");
        EXPECT_NEAR (audiofiles::mutagenField (tags, "replaygain_track_gain").getDoubleValue(),
                     reference[file.getFileName()], 0.1)
            << measured.output << juce::JSON::toString (tags);
        EXPECT_NEAR (audiofiles::mutagenField (tags, "replaygain_album_gain").getDoubleValue(), reference["Album"], 0.1)
            << measured.output;
        EXPECT_TRUE (audiofiles::mutagenField (tags, "replaygain_track_gain").endsWith (" dB"));

        // Each song is there, a few seconds long, at the capture's rate.
        const auto decoded = audiofiles::readAudio (file);
        EXPECT_EQ (decoded.rate, 44100.0);
        EXPECT_GE (decoded.length, 2 * second - serverBlock);
    }

    // The playlist names the three songs in order, relative to the album folder.
    const auto playlist =
        juce::StringArray::fromLines (albumFolder.getChildFile ("Dummy Backend.m3u8").loadFileAsString().trimEnd());
    ASSERT_EQ (playlist.size(), 7) << playlist.joinIntoString ("\n");
    EXPECT_EQ (playlist[0], "#EXTM3U");
    for (int i = 1; i <= 3; ++i)
    {
        EXPECT_TRUE (playlist[2 * i - 1].startsWith ("#EXTINF:")) << playlist[2 * i - 1];
        EXPECT_TRUE (playlist[2 * i - 1].endsWith (",The Testers - Track" + juce::String (i))) << playlist[2 * i - 1];
        EXPECT_GE (playlist[2 * i - 1].fromFirstOccurrenceOf (":", false, false).getIntValue(), 2);
        EXPECT_EQ (playlist[2 * i], "0" + juce::String (i) + " - The Testers - Track" + juce::String (i) + ".flac");
    }

    // The recordings went with the list.
    EXPECT_EQ (project.trackCount(), 0);
}
