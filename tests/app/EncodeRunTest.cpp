// The encode run, driven through the wizard's Next button with the real convertors and their
// progress windows: what lands in the album folder, how it is named and tagged, and what becomes
// of each source.
#include "app/EncodeRun.h"
#include "app/ProjectPage.h"
#include "encoding/AudioFiles.h"
#include "encoding/FinalPage.h"
#include "project/FileNames.h"
#include "support/FileSizeLimit.h"
#include "support/MalformedCorpus.h"
#include "support/WizardFixture.h"

#include <unistd.h>

using namespace audiofiles;

namespace
{
constexpr int formatPage = 5;
constexpr int finalPage = 6;

juce::StringArray namesIn (const juce::File& folder)
{
    juce::StringArray names;
    for (const auto& file : folder.findChildFiles (juce::File::findFilesAndDirectories, false))
        names.add (file.getFileName());
    names.sort (false);
    return names;
}

juce::File makePicture (const juce::File& file)
{
    juce::Image image (juce::Image::RGB, 16, 16, true);
    image.clear (image.getBounds(), juce::Colours::teal);
    file.deleteFile();
    juce::FileOutputStream stream (file);
    juce::JPEGImageFormat().writeImageToStream (image, stream);
    return file;
}

class EncodeRunTest : public WizardTest
{
protected:
    void SetUp() override
    {
        WizardTest::SetUp();
        REQUIRE_TOOL ("flac", "flac");
        REQUIRE_TOOL ("ogginfo", "vorbis-tools");
        REQUIRE_TOOL ("soxi", "sox");
        const auto python = runTool ({ pythonWithMutagen(), "-c", "import mutagen" });
        ASSERT_EQ (python.exitCode, 0) << "mutagen is missing: install python3-mutagen (script/setup installs it)";

        // A saved list would be offered on the track page of an encode.
        Project::savedTrackListFile().deleteFile();
        root = freshFolder ("encode run");
        project().setRootDirectory (root.getFullPathName());
        project().setCaptureFolder (root.getFullPathName());

        // These tests are about the run's own steps; what the album gets beyond them (cover
        // inside the files, ReplayGain, playlist) is AlbumExtrasRunTest's.
        project().setEmbedCover (false);
        project().setReplayGain (false);
        project().setWritePlaylist (false);
    }

    void TearDown() override
    {
        project().setEmbedCover (true);
        project().setReplayGain (true);
        project().setWritePlaylist (true);
        project().setKeepWaves (false);
        project().setOutputFormat (formatWav);
        project().setAddTrackNumbers (true);
        WizardTest::TearDown();
    }

    /** A rip up to the format page: the album folder made on leaving the album page, and
        `count` half-second tracks written into it as the capture names them. */
    void ripToFormatPage (int count, const juce::String& artist = "Artist", const juce::String& album = "Album")
    {
        project().artist = artist;
        project().album = album;
        project().year = "1977";
        project().genre = "Rock";
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 2);
        if (artist.isNotEmpty() || album.isNotEmpty())
            dialogs.answer ("Yes");
        next();
        ASSERT_EQ (MainComponent::currentPage, 3);
        albumFolder = juce::File (project().captureFolder);

        for (int i = 1; i <= count; ++i)
        {
            const auto file = albumFolder.getChildFile ("Track" + juce::String (i) + ".wav");
            writeAudio (file, 44100.0, 16, makeSignal (2, 22050, 16, (juce::uint32) i));
            project().addTrack (file.getFullPathName(), formatWav);
            sources.add (file.getFullPathName());
        }

        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, formatPage);
    }

    /** A short sound of the user's own, of the format its name says, in `folder` below the root. */
    juce::File userSound (const juce::String& name, const juce::String& folder = "my music")
    {
        const auto file = root.getChildFile (folder).getChildFile (name);
        file.getParentDirectory().createDirectory();
        writeAudio (file, 44100.0, 16, makeSignal (2, 4410, 16));
        return file;
    }

    /** An encode project on its track page, with these files dropped on it. */
    void encodeToTrackPage (const juce::Array<juce::File>& files)
    {
        click (wizard->projectPage->encodeButton);
        next();
        ASSERT_EQ (MainComponent::currentPage, 4);

        juce::StringArray paths;
        for (const auto& file : files)
            paths.add (file.getFullPathName());
        wizard->filesDropped (paths, 40, 40);
        next();
        ASSERT_EQ (MainComponent::currentPage, formatPage);
    }

    /** `flac -t` passes and mutagen reads the album's tags with this title and number. */
    void expectTaggedFlac (const juce::File& file, const juce::String& title, int number)
    {
        SCOPED_TRACE (file.getFileName().toStdString());
        ASSERT_TRUE (file.existsAsFile());
        const auto test = runTool ({ "flac", "-t", "-s", file.getFullPathName() });
        EXPECT_EQ (test.exitCode, 0) << test.output;
        expectTags (file, title, number);
    }

    void expectTaggedOgg (const juce::File& file, const juce::String& title, int number)
    {
        SCOPED_TRACE (file.getFileName().toStdString());
        ASSERT_TRUE (file.existsAsFile());
        const auto info = oggInfo (file);
        EXPECT_EQ (info.exitCode, 0) << info.output;
        EXPECT_EQ (info.rate, 44100);
        EXPECT_EQ (info.channels, 2);
        expectTags (file, title, number);
    }

    void expectTags (const juce::File& file, const juce::String& title, int number)
    {
        const auto tags = mutagenTags (file);
        EXPECT_EQ (mutagenField (tags, "title"), title) << juce::JSON::toString (tags);
        EXPECT_EQ (mutagenField (tags, "album"), project().album.isEmpty() ? "(absent)" : project().album);
        EXPECT_EQ (mutagenField (tags, "artist"), project().artist.isEmpty() ? "(absent)" : project().artist);
        EXPECT_EQ (mutagenField (tags, "genre"), project().genre.isEmpty() ? "(absent)" : project().genre);
        EXPECT_EQ (mutagenField (tags, "tracknumber"), juce::String (number));

        const auto ours = tagLibTags (file);
        EXPECT_EQ (ours.title, title);
        EXPECT_EQ (ours.track, (unsigned int) number);
        EXPECT_EQ (ours.year, (unsigned int) juce::jmax (0, project().year.getIntValue()));
    }

    /** "Encode again" on the last page, then these files dropped on the track page, and on to
        the format page: the same list once more. */
    void encodeAgain (const juce::Array<juce::File>& files)
    {
        ASSERT_EQ (MainComponent::currentPage, finalPage);
        click (wizard->finalPage->againButton);
        ASSERT_EQ (MainComponent::currentPage, 4);
        ASSERT_EQ (project().trackCount(), 0);

        juce::StringArray paths;
        for (const auto& file : files)
            paths.add (file.getFullPathName());
        wizard->filesDropped (paths, 40, 40);
        next();
        ASSERT_EQ (MainComponent::currentPage, formatPage);
    }

    /** The "Save elsewhere" questions asked so far, by the file each started at. */
    juce::StringArray saveElsewhereQuestions() const
    {
        juce::StringArray asked;
        for (const auto& chooser : dialogs.choosers())
            if (chooser.request.title == "Save elsewhere")
                asked.add (chooser.request.initial.getFullPathName());
        return asked;
    }

    /** The samples of a finished file as the flac tool decodes them are the source's. */
    static void expectFlacHolds (const juce::File& file, const Channels& samples)
    {
        SCOPED_TRACE (file.getFileName().toStdString());
        EXPECT_EQ (difference (samples, decodeWithFlac (file, 2)), "");
    }

    /** The run's failure box, word for word. */
    static juce::String conversionFailure (const juce::StringArray& failed)
    {
        juce::String message ("Can't convert audio files !\nLeavings wav files as is:\n");
        for (const auto& path : failed)
            message << "\n" << path;
        return message;
    }

    juce::File root, albumFolder;
    juce::StringArray sources;
};

//==============================================================================
// Mixed sources of an encode project, as a user has them in a folder of their own.
struct MixedSources
{
    explicit MixedSources (const juce::File& folder)
        : folder (folder)
    {
        folder.createDirectory();
        writeAudio (wav48k24, 48000.0, 24, makeSignal (2, 24000, 24, 1));
        writeAudio (monoFlac, 44100.0, 16, makeSignal (1, 22050, 16, 2));
        writeAudio (stereoOgg, 44100.0, 16, makeSignal (2, 22050, 16, 3));
        writeAudio (monoAiff, 44100.0, 16, makeSignal (1, 22050, 16, 4));
        writeAudio (monoWav, 44100.0, 16, makeSignal (1, 22050, 16, 5));
        writeAudio (bystander, 44100.0, 16, makeSignal (2, 1000, 16, 6));
        notes.replaceWithText ("not part of the album");
    }

    juce::Array<juce::File> tracks() const { return { monoWav, stereoOgg, wav48k24, monoAiff, monoFlac }; }

    juce::File folder;
    juce::File wav48k24 = folder.getChildFile ("a 48k 24bit.wav");
    juce::File monoFlac = folder.getChildFile ("b mono.flac");
    juce::File stereoOgg = folder.getChildFile ("c stereo.ogg");
    juce::File monoAiff = folder.getChildFile ("d mono.aiff");
    juce::File monoWav = folder.getChildFile ("e mono.wav");
    juce::File bystander = folder.getChildFile ("f not in the list.wav");
    juce::File notes = folder.getChildFile ("notes.txt");
};
} // namespace

//==============================================================================
TEST_F (EncodeRunTest, aRipWithAnEmptyListGoesToTheLastPageWithoutAQuestion)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (0, {}, {}));
    EXPECT_TRUE (dialogs.alerts().empty());
    next();
    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (EncodeRunTest, aRipToFlacFillsTheAlbumFolderAndTheRecordingsGo)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (3));
    project().frontCover = makePicture (root.getChildFile ("my scan.jpg"));
    project().backCover = root.getChildFile ("moved away.jpg");
    project().setOutputFormat (formatFlac);
    const auto alertsBefore = dialogs.alerts().size();

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.flac", "02 - Artist - Track2.flac",
                                                           "03 - Artist - Track3.flac", "Front.jpg" }));
    for (int i = 1; i <= 3; ++i)
        expectTaggedFlac (
            albumFolder.getChildFile ("0" + juce::String (i) + " - Artist - Track" + juce::String (i) + ".flac"),
            "Track" + juce::String (i), i);

    // The recordings were the album's only copies in WAV: they go, and the list with them.
    EXPECT_EQ (project().trackCount(), 0);
    EXPECT_TRUE (project().frontCover.existsAsFile());
}

TEST_F (EncodeRunTest, aRipToFlacKeepsTheRecordingsWhenAskedTo)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (2));
    project().setKeepWaves (true);
    project().setOutputFormat (formatFlac);
    const auto alertsBefore = dialogs.alerts().size();

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.flac", "02 - Artist - Track2.flac",
                                                           "Track1.wav", "Track2.wav" }));
    expectTaggedFlac (albumFolder.getChildFile ("02 - Artist - Track2.flac"), "Track2", 2);
    EXPECT_EQ (trackPaths (project()), sources);
}

TEST_F (EncodeRunTest, wavOutputOfARipMovesTheRecordingsToTheirFinalNamesUntouched)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (3));
    juce::StringArray contents;
    for (const auto& path : sources)
        contents.add (juce::File (path).loadFileAsString());
    const auto alertsBefore = dialogs.alerts().size();

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.wav", "02 - Artist - Track2.wav",
                                                           "03 - Artist - Track3.wav" }));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ (
            albumFolder.getChildFile ("0" + juce::String (i + 1) + " - Artist - Track" + juce::String (i + 1) + ".wav")
                .loadFileAsString(),
            contents[i]);

    // The list still names the old paths.
    EXPECT_EQ (trackPaths (project()), sources);
}

TEST_F (EncodeRunTest, aiffOutputOfARipIsUntaggedAndTheRecordingsGo)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (2));
    project().setOutputFormat (formatAiff);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.aiff", "02 - Artist - Track2.aiff" }));
    const auto info = soxInfo (albumFolder.getChildFile ("01 - Artist - Track1.aiff"));
    EXPECT_EQ (info.rate, 44100);
    EXPECT_EQ (info.channels, 2);
    EXPECT_EQ (info.bits, 16);
    EXPECT_EQ (info.samples, 22050);
    EXPECT_EQ (project().trackCount(), 0);
}

TEST_F (EncodeRunTest, aVanishedRecordingIsListedWordForWordAndNothingIsDeleted)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (4));
    project().setOutputFormat (formatAiff);
    juce::File (sources[1]).deleteFile();
    juce::File (sources[3]).deleteFile();

    next();

    EXPECT_EQ (MainComponent::currentPage, formatPage);
    ASSERT_FALSE (dialogs.alerts().empty());
    const auto alert = dialogs.alerts().back();
    EXPECT_EQ (alert.title, "Groove Smith : Error");
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alert.message, conversionFailure ({ sources[1], sources[3] }));
    EXPECT_EQ (alert.message,
               "Can't convert audio files !\nLeavings wav files as is:\n\n" + sources[1] + "\n" + sources[3]);

    // What was done is finished and moved; the recordings that remain stay.
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.aiff", "03 - Artist - Track3.aiff",
                                                           "Track1.wav", "Track3.wav" }));
    EXPECT_EQ (trackPaths (project()), sources);
}

TEST_F (EncodeRunTest, aVanishedRecordingWithWavOutputIsAFailedMove)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (3));
    juce::File (sources[1]).deleteFile();
    const auto alertsBefore = dialogs.alerts().size();

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    ASSERT_EQ (dialogs.alerts().size(), alertsBefore + 1);
    EXPECT_EQ (dialogs.alerts().back().title, "Groove Smith : Error");
    EXPECT_EQ (dialogs.alerts().back().message, "An error occured when trying to move the track");
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.wav", "03 - Artist - Track3.wav" }));
}

TEST_F (EncodeRunTest, namesFullOfForbiddenCharactersAreCleanedInFileNamesAndKeptInTags)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (0, "AC/DC: \"Live\"?", {}));
    EXPECT_EQ (albumFolder, root.getChildFile ("ACDC Live"));
    const auto track = albumFolder.getChildFile ("Who? <Me>*.wav");
    writeAudio (track, 44100.0, 16, makeSignal (2, 4410, 16));
    project().addTrack (track.getFullPathName(), formatWav);
    project().setOutputFormat (formatFlac);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ("01 - ACDC Live - Who Me.flac"));
    expectTaggedFlac (albumFolder.getChildFile ("01 - ACDC Live - Who Me.flac"), "Who? <Me>*", 1);
}

TEST_F (EncodeRunTest, anArtistOfTwoDotsGetsAFolderOfItsOwnInsideTheRoot)
{
    // Outside the root, only the program's own settings folder may change.
    const auto outside = root.getParentDirectory();
    const auto namesOutside = [&outside]
    {
        auto names = namesIn (outside);
        names.removeString (".config");
        return names;
    };
    const auto outsideBefore = namesOutside();

    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (1, "..", {}));

    ASSERT_FALSE (dialogs.alerts().empty());
    EXPECT_EQ (dialogs.alerts()[0].message,
               "\"" + root.getChildFile ("__").getFullPathName() + "\" does not exist. Create it ?");
    EXPECT_EQ (albumFolder, root.getChildFile ("__"));
    project().setOutputFormat (formatFlac);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ("01 - .. - Track1.flac"));
    EXPECT_EQ (namesIn (root), juce::StringArray ("__"));
    EXPECT_EQ (namesOutside(), outsideBefore);
}

TEST_F (EncodeRunTest, aCoverThatIsNoPictureIsCopiedAsItIs)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (1));
    const auto fake = root.getChildFile ("cover.jpg");
    fake.replaceWithText ("<html>not a picture</html>");
    project().frontCover = fake;
    project().setOutputFormat (formatFlac);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.flac", "Front.jpg" }));
    EXPECT_EQ (albumFolder.getChildFile ("Front.jpg").loadFileAsString(), "<html>not a picture</html>");
    EXPECT_TRUE (fake.existsAsFile());
}

//==============================================================================
TEST_F (EncodeRunTest, anEncodeOfMixedSourcesToOggWithADestination)
{
    const MixedSources mine (root.getChildFile ("my music"));
    const auto out = root.getChildFile ("out");
    out.createDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage (mine.tracks()));
    ASSERT_EQ (project().trackCount(), 5);
    project().artist = "Various";
    project().album = "Mix";
    project().year = "2020";
    project().genre = "Pop";
    project().setOutputFormat (formatOgg);
    const auto oggLength = readAudio (mine.stereoOgg).length;
    const auto bystander = mine.bystander.loadFileAsString();

    dialogs.chooseNext (out);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    ASSERT_EQ (dialogs.choosers().size(), 1u);
    const auto chooser = dialogs.choosers()[0];
    EXPECT_EQ (chooser.request.title, "Please select the encoding destination");
    EXPECT_EQ (chooser.request.mode, FileRequest::Mode::directory);
    EXPECT_EQ (chooser.request.initial, root);

    // Converted in the destination, then named in the capture folder, which is the root here.
    EXPECT_EQ (namesIn (root), juce::StringArray ({ "01 - Various - a 48k 24bit.ogg", "02 - Various - b mono.ogg",
                                                    "03 - Various - c stereo.ogg", "04 - Various - d mono.ogg",
                                                    "05 - Various - e mono.ogg", "my music", "out" }));
    const char* titles[] = { "a 48k 24bit", "b mono", "c stereo", "d mono", "e mono" };
    for (int i = 0; i < 5; ++i)
        expectTaggedOgg (root.getChildFile ("0" + juce::String (i + 1) + " - Various - " + titles[i] + ".ogg"),
                         titles[i], i + 1);

    // The Ogg source was already right: it is the user's own file, tagged and moved.
    EXPECT_FALSE (mine.stereoOgg.exists());
    EXPECT_EQ (readAudio (root.getChildFile ("03 - Various - c stereo.ogg")).length, oggLength);

    // FLAC and AIFF went through temporary WAV files, which are gone; from then on every
    // source is deleted after its conversion, the user's last WAV file included.
    EXPECT_EQ (namesIn (mine.folder), juce::StringArray ({ "a 48k 24bit.wav", "b mono.flac", "d mono.aiff",
                                                           "f not in the list.wav", "notes.txt" }));
    EXPECT_TRUE (namesIn (out).isEmpty());
    EXPECT_EQ (mine.bystander.loadFileAsString(), bystander);
    EXPECT_EQ (mine.notes.loadFileAsString(), "not part of the album");

    EXPECT_EQ (trackPaths (project()),
               juce::StringArray (juce::Array<juce::String>{
                   mine.wav48k24.getFullPathName(), out.getChildFile ("b mono.wav").getFullPathName(),
                   mine.stereoOgg.getFullPathName(), out.getChildFile ("d mono.wav").getFullPathName(),
                   mine.monoWav.getFullPathName() }));
    EXPECT_EQ (project().trackFormat (1), formatWav);
    EXPECT_EQ (project().outputFormat, formatOgg);
    EXPECT_FALSE (project().intermediateConversion);
}

TEST_F (EncodeRunTest, anEncodeThatKeepsTheWavesLeavesTheTemporaryFilesInTheDestination)
{
    const MixedSources mine (root.getChildFile ("my music"));
    const auto out = root.getChildFile ("out");
    out.createDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage (mine.tracks()));
    project().setKeepWaves (true);
    project().setOutputFormat (formatOgg);

    dialogs.chooseNext (out);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (namesIn (root), juce::StringArray ({ "01 - a 48k 24bit.ogg", "02 - b mono.ogg", "03 - c stereo.ogg",
                                                    "04 - d mono.ogg", "05 - e mono.ogg", "my music", "out" }));
    expectTaggedOgg (root.getChildFile ("05 - e mono.ogg"), "e mono", 5);

    EXPECT_EQ (namesIn (mine.folder), juce::StringArray ({ "a 48k 24bit.wav", "b mono.flac", "d mono.aiff",
                                                           "e mono.wav", "f not in the list.wav", "notes.txt" }));
    EXPECT_EQ (namesIn (out), juce::StringArray ({ "b mono.wav", "d mono.wav" }));
    const auto decoded = readAudio (out.getChildFile ("b mono.wav"));
    EXPECT_EQ (decoded.channels, 2);
    EXPECT_EQ (decoded.bits, 16);
    EXPECT_EQ (decoded.length, 22050);
}

TEST_F (EncodeRunTest, withoutADestinationTheFilesAreMadeBesideTheirSources)
{
    const auto flac = userSound ("song.flac");
    const auto mine = flac.getParentDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ flac }));
    project().setKeepWaves (true);
    project().setOutputFormat (formatOgg);

    next(); // the destination chooser is cancelled

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.choosers().size(), 1u);
    EXPECT_EQ (namesIn (mine), juce::StringArray ({ "song.flac", "song.wav" }));
    EXPECT_EQ (namesIn (root), juce::StringArray ({ "01 - song.ogg", "my music" }));
}

TEST_F (EncodeRunTest, theTemporaryWavNameIsCutShortByALongerDestinationButStaysInIt)
{
    EXPECT_EQ (EncodeRun::intermediatePath ("/m/s/b flac source.flac", "/m/destination/b flac source"),
               "/m/destination/b f.wav");
    EXPECT_EQ (EncodeRun::intermediatePath ("/m/sources/song.flac", "/m/o/song"), "/m/o/song.wav");
    EXPECT_EQ (EncodeRun::intermediatePath ("/m/s/x.flac", "/m/a longer destination/x"),
               "/m/a longer destination/x.wav");
    EXPECT_EQ (EncodeRun::intermediatePath ("/m/s/xy.flac", "/m/ss/xy"), "/m/ss/x.wav");
    EXPECT_EQ (EncodeRun::intermediatePath ("/m/s/xy.flac", "/m/sss/xy"), "/m/sss/xy.wav");

    // Through the wizard: the name is cut short, inside the destination.
    const auto out = root.getChildFile ("destination");
    out.createDirectory();
    const auto first = userSound ("b flac source.flac", "s");
    const auto second = userSound ("x.flac", "s");
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ first, second }));
    project().setKeepWaves (true);
    project().setOutputFormat (formatOgg);

    dialogs.chooseNext (out);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (out), juce::StringArray ({ "b f.wav", "x.wav" }));
    EXPECT_EQ (namesIn (root), juce::StringArray ({ "01 - b flac source.ogg", "02 - x.ogg", "destination", "s" }));
}

//==============================================================================
TEST_F (EncodeRunTest, aUsersOwnFileWhereTheTemporaryWavWouldGoIsNotOverwritten)
{
    const auto flac = userSound ("x.flac");
    const auto mine = flac.getParentDirectory();
    const auto usersWav = mine.getChildFile ("x.wav");
    usersWav.replaceWithText ("the user's own recording");
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ flac }));
    project().setOutputFormat (formatOgg);

    // No destination; the save question for the taken name is cancelled too.
    next();

    EXPECT_EQ (MainComponent::currentPage, formatPage);
    ASSERT_EQ (dialogs.choosers().size(), 2u);
    EXPECT_EQ (dialogs.choosers()[1].request.title, "Save elsewhere");
    EXPECT_EQ (dialogs.choosers()[1].request.initial, mine.getChildFile ("x"));
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message, conversionFailure ({ flac.getFullPathName() }));
    EXPECT_EQ (usersWav.loadFileAsString(), "the user's own recording");
    EXPECT_EQ (project().outputFormat, formatOgg);
    EXPECT_FALSE (project().intermediateConversion);

    // Given another place, the run goes through and leaves the user's file be.
    const auto elsewhere = mine.getChildFile ("x decoded.wav");
    dialogs.chooseNext ({});
    dialogs.chooseNext (elsewhere);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (usersWav.loadFileAsString(), "the user's own recording");
    EXPECT_EQ (namesIn (mine), juce::StringArray ({ "x.flac", "x.wav" }));
    expectTaggedOgg (root.getChildFile ("01 - x.ogg"), "x", 1);
}

TEST_F (EncodeRunTest, aUsersOwnFileWhereTheOutputWouldGoIsNotOverwritten)
{
    const auto wav = userSound ("y.wav");
    const auto usersOgg = wav.getSiblingFile ("y.ogg");
    usersOgg.replaceWithText ("the user's own Ogg file");
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ wav }));
    project().setOutputFormat (formatOgg);

    next();

    EXPECT_EQ (MainComponent::currentPage, formatPage);
    ASSERT_EQ (dialogs.choosers().size(), 2u);
    EXPECT_EQ (dialogs.choosers()[1].request.initial, usersOgg);
    ASSERT_FALSE (dialogs.alerts().empty());
    EXPECT_EQ (dialogs.alerts().back().message, conversionFailure ({ wav.getFullPathName() }));
    EXPECT_EQ (usersOgg.loadFileAsString(), "the user's own Ogg file");
    EXPECT_TRUE (wav.existsAsFile());
}

TEST_F (EncodeRunTest, aDestinationThatCannotBeWrittenFailsTheTracksAndWritesNothingElsewhere)
{
    // Permissions do not stop an administrator: then take a folder the system itself refuses.
    auto locked = root.getChildFile ("locked");
    locked.createDirectory();
    locked.setReadOnly (true, false);
    if (locked.getChildFile ("probe").create().wasOk())
        locked = juce::File ("/proc");
    ASSERT_FALSE (locked.getChildFile ("probe").create().wasOk());

    const auto wav = userSound ("z.wav");
    const auto mine = wav.getParentDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ wav }));
    project().setOutputFormat (formatFlac);
    const auto rootBefore = namesIn (root);

    dialogs.chooseNext (locked);
    next();

    // The user is asked for another place at once, and cancels.
    EXPECT_EQ (MainComponent::currentPage, formatPage);
    EXPECT_EQ (saveElsewhereQuestions(), juce::StringArray (locked.getChildFile ("z.flac").getFullPathName()));
    ASSERT_FALSE (dialogs.alerts().empty());
    EXPECT_EQ (dialogs.alerts().back().message, conversionFailure ({ wav.getFullPathName() }));
    EXPECT_TRUE (wav.existsAsFile());
    EXPECT_EQ (namesIn (mine), juce::StringArray ("z.wav"));
    EXPECT_EQ (namesIn (root), rootBefore);
    EXPECT_FALSE (locked.getChildFile ("z.flac").exists());
    if (locked != juce::File ("/proc"))
        locked.setReadOnly (false, false);
}

TEST_F (EncodeRunTest, anItunesFormatShowsThatItunesIsMissingOnceAndKeepsEverything)
{
    const auto first = userSound ("one.flac");
    const auto second = userSound ("two.wav");
    const auto mine = first.getParentDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ first, second }));
    project().setOutputFormat (formatAacItunes);

    next();

    EXPECT_EQ (MainComponent::currentPage, formatPage);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Itunes not found");
    EXPECT_EQ (dialogs.alerts()[0].textBlock, "Itunes is not installed - Please get Itunes");
    // The FLAC file became WAV for iTunes; nothing is deleted after a failure.
    EXPECT_EQ (namesIn (mine), juce::StringArray ({ "one.flac", "one.wav", "two.wav" }));
    EXPECT_EQ (project().outputFormat, formatAacItunes);
}

TEST_F (EncodeRunTest, aSourceOnlyItunesCouldDecodeEndsTheRunWithTheItunesBox)
{
    const auto wav = userSound ("later.wav");
    const auto mine = wav.getParentDirectory();
    const auto mp3 = mine.getChildFile ("song.mp3");
    mp3.replaceWithText ("pretend MP3");

    click (wizard->projectPage->encodeButton);
    next();
    // The track page's own import would ask for a WAV first: put the file in the list as it is.
    project().addTrack (mp3.getFullPathName(), formatMp3Itunes);
    project().addTrack (wav.getFullPathName(), formatWav);
    next();
    project().setOutputFormat (formatOgg);

    next();

    EXPECT_EQ (MainComponent::currentPage, formatPage);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Itunes not found");
    // The run ended there: the later track was not converted, and the format is the user's again.
    EXPECT_EQ (namesIn (mine), juce::StringArray ({ "later.wav", "song.mp3" }));
    EXPECT_TRUE (namesIn (root).contains ("my music"));
    EXPECT_EQ (namesIn (root).size(), 1);
    EXPECT_EQ (project().outputFormat, formatOgg);
    EXPECT_EQ (project().getSettings().getIntValue ("outputformat"), formatOgg);
    EXPECT_FALSE (project().intermediateConversion);
}

TEST_F (EncodeRunTest, anEncodeOntoAFullDiskFailsInTheRunsWordsAndPresentsNoHalfFile)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (2));
    juce::StringArray recordings;
    for (const auto& path : sources)
        recordings.add (MalformedCorpus::fingerprint (juce::File (path)));

    for (const auto format : { formatAiff, formatFlac, formatOgg })
    {
        SCOPED_TRACE (format);
        project().setOutputFormat (format);
        const auto alertsBefore = dialogs.alerts().size();

        {
            // No file may grow past 8 KB: each track's output runs out of room part way.
            const FileSizeLimit fullDisk (8 * 1024);
            next();
        }

        EXPECT_EQ (MainComponent::currentPage, formatPage);
        ASSERT_EQ (dialogs.alerts().size(), alertsBefore + 1);
        EXPECT_EQ (dialogs.alerts().back().title, "Groove Smith : Error");
        EXPECT_EQ (dialogs.alerts().back().message, conversionFailure (sources));

        // Nothing half written is left under a final name or beside the recordings, which stay as they were.
        EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "Track1.wav", "Track2.wav" }));
        EXPECT_EQ (trackPaths (project()), sources);
        for (int i = 0; i < sources.size(); ++i)
            EXPECT_EQ (MalformedCorpus::fingerprint (juce::File (sources[i])), recordings[i]) << sources[i];
    }

    // With room again the same Next finishes the album.
    next();
    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.ogg", "02 - Artist - Track2.ogg" }));
    expectTaggedOgg (albumFolder.getChildFile ("02 - Artist - Track2.ogg"), "Track2", 2);
}

//==============================================================================
// A second run into the same folder replaces what the program itself wrote for the same tracks,
// and asks before it replaces anything else.
TEST_F (EncodeRunTest, aSecondRunAfterAPartialFailureReplacesItsOwnFilesWithoutAQuestion)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (3));
    project().setOutputFormat (formatFlac);
    const auto second = juce::File (sources[1]);
    const auto away = second.getSiblingFile ("away");
    ASSERT_TRUE (second.moveFileTo (away));

    next();

    ASSERT_EQ (MainComponent::currentPage, formatPage);
    EXPECT_EQ (dialogs.alerts().back().message, conversionFailure ({ sources[1] }));
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.flac", "03 - Artist - Track3.flac",
                                                           "Track1.wav", "Track3.wav", "away" }));
    const auto alertsBefore = dialogs.alerts().size();

    // The recording is back: the same Next finishes the album over the first run's files.
    ASSERT_TRUE (away.moveFileTo (second));
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_TRUE (saveElsewhereQuestions().isEmpty());
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.flac", "02 - Artist - Track2.flac",
                                                           "03 - Artist - Track3.flac" }));
    for (int i = 1; i <= 3; ++i)
    {
        const auto file =
            albumFolder.getChildFile ("0" + juce::String (i) + " - Artist - Track" + juce::String (i) + ".flac");
        expectTaggedFlac (file, "Track" + juce::String (i), i);
        expectFlacHolds (file, makeSignal (2, 22050, 16, (juce::uint32) i));
    }
}

TEST_F (EncodeRunTest, theSameListEncodedAgainReplacesItsOwnFilesWithoutAQuestion)
{
    const auto first = userSound ("a.wav");
    const auto second = userSound ("b.wav");
    const auto out = root.getChildFile ("out");
    out.createDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ first, second }));
    project().setOutputFormat (formatOgg);

    dialogs.chooseNext (out);
    next();
    ASSERT_EQ (MainComponent::currentPage, finalPage);
    const auto firstFinal = root.getChildFile ("01 - a.ogg");
    ASSERT_TRUE (firstFinal.existsAsFile());

    ASSERT_NO_FATAL_FAILURE (encodeAgain ({ first, second }));
    project().year = "2001";
    dialogs.chooseNext (out);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (saveElsewhereQuestions().isEmpty());
    EXPECT_EQ (namesIn (root), juce::StringArray ({ "01 - a.ogg", "02 - b.ogg", "my music", "out" }));
    EXPECT_TRUE (namesIn (out).isEmpty());
    // The files are the second run's: tagged with its year.
    expectTaggedOgg (firstFinal, "a", 1);
    EXPECT_EQ (tagLibTags (root.getChildFile ("02 - b.ogg")).year, 2001u);
}

TEST_F (EncodeRunTest, aSecondRunIntoTheFolderOfTheFinishedFilesWritesOverItsOwn)
{
    // No number and no artist: the converted file is at its final name from the start.
    project().setAddTrackNumbers (false);
    const auto wav = userSound ("song.wav");
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ wav }));
    project().setOutputFormat (formatFlac);
    dialogs.chooseNext (root);
    next();
    ASSERT_EQ (MainComponent::currentPage, finalPage);
    ASSERT_TRUE (root.getChildFile ("song.flac").existsAsFile());

    ASSERT_NO_FATAL_FAILURE (encodeAgain ({ wav }));
    project().genre = "Blues";
    dialogs.chooseNext (root);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (saveElsewhereQuestions().isEmpty());
    EXPECT_EQ (namesIn (root), juce::StringArray ({ "my music", "song.flac" }));
    expectTaggedFlac (root.getChildFile ("song.flac"), "song", 1);
    EXPECT_EQ (tagLibTags (root.getChildFile ("song.flac")).genre, "Blues");
}

TEST_F (EncodeRunTest, aFileThatIsNotTheProgramsOwnForTheTrackIsStillAskedAbout)
{
    const auto a = userSound ("a.wav");
    const auto b = userSound ("b.wav");
    const auto c = userSound ("c.wav");
    const auto out = root.getChildFile ("out");
    out.createDirectory();
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ a, b, c }));
    project().setOutputFormat (formatFlac);
    dialogs.chooseNext (out);
    next();
    ASSERT_EQ (MainComponent::currentPage, finalPage);

    // The user edits the first finished file; the second track is recorded anew at the same
    // path; at the fourth place a file of the user's own waits where the list's new track will go.
    const auto aFinal = root.getChildFile ("01 - a.flac");
    const auto bFinal = root.getChildFile ("02 - b.flac");
    const auto dFinal = root.getChildFile ("04 - d.flac");
    ASSERT_TRUE (aFinal.appendText ("the user's own edit"));
    const auto bEarlier = bFinal.loadFileAsString();
    writeAudio (b, 44100.0, 16, makeSignal (2, 3000, 16, 9));
    dFinal.replaceWithText ("the user's own file");
    const auto d = userSound ("d.wav");
    const auto aEdited = aFinal.loadFileAsString();

    ASSERT_NO_FATAL_FAILURE (encodeAgain ({ a, b, c, d }));
    dialogs.chooseNext (out);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (saveElsewhereQuestions(),
               juce::StringArray (aFinal.getFullPathName(), bFinal.getFullPathName(), dFinal.getFullPathName()));
    // Each question was cancelled: the user's files stay as they were, and the new ones wait
    // where they were made.
    EXPECT_EQ (aFinal.loadFileAsString(), aEdited);
    EXPECT_EQ (bFinal.loadFileAsString(), bEarlier);
    EXPECT_EQ (dFinal.loadFileAsString(), "the user's own file");
    EXPECT_EQ (namesIn (out), juce::StringArray ({ "a.flac", "b.flac", "d.flac" }));
    expectFlacHolds (out.getChildFile ("b.flac"), makeSignal (2, 3000, 16, 9));
    // The third track's file was the program's own from the same recording: replaced.
    expectTaggedFlac (root.getChildFile ("03 - c.flac"), "c", 3);
}

//==============================================================================
// Names as long as the file system takes, counted in bytes.
TEST_F (EncodeRunTest, longNamesInAScriptOfThreeBytesALetterMakeAFolderAndFilesThatFit)
{
    // 100 letters of three bytes each, twice, and a title of 80: 240 bytes, which its WAV file
    // still takes.
    const juce::String kanji (juce::CharPointer_UTF8 ("\xe6\xbc\xa2"));
    const auto artist = juce::String::repeatedString (kanji, 100);
    const auto album = juce::String::repeatedString (juce::String (juce::CharPointer_UTF8 ("\xe0\xa4\x95")), 100);
    const auto title = juce::String::repeatedString (kanji, 80);

    ASSERT_NO_FATAL_FAILURE (ripToFormatPage (0, artist, album));
    EXPECT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (albumFolder.getParentDirectory(), root);
    EXPECT_LE (FileNames::bytesOf (albumFolder.getFileName()), 255);
    EXPECT_TRUE (albumFolder.getFileName().startsWith (kanji + kanji));
    EXPECT_TRUE (albumFolder.getFileName().contains (" - "));

    const auto track = albumFolder.getChildFile (title + ".wav");
    writeAudio (track, 44100.0, 16, makeSignal (2, 4410, 16));
    ASSERT_TRUE (track.existsAsFile());
    project().addTrack (track.getFullPathName(), formatWav);
    project().setOutputFormat (formatFlac);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), 1u);
    const auto names = namesIn (albumFolder);
    ASSERT_EQ (names.size(), 1);
    EXPECT_LE (FileNames::bytesOf (names[0]), 255);
    EXPECT_TRUE (names[0].startsWith ("01 - " + kanji));
    EXPECT_TRUE (names[0].endsWith (kanji + ".flac"));
    // The tag keeps the whole title and artist, as their bytes.
    const auto tags = tagLibTags (albumFolder.getChildFile (names[0]));
    EXPECT_EQ (tags.title.length(), 240);
    EXPECT_EQ (tags.artist.length(), 300);
}

//==============================================================================
TEST_F (EncodeRunTest, aDestinationThatCannotBeWrittenIsAskedAboutAndTheChosenPlaceIsUsed)
{
    // A folder without write permission; an administrator writes there all the same, so then
    // a folder the system refuses to anyone.
    auto locked = root.getChildFile ("locked");
    locked.createDirectory();
    locked.setReadOnly (true, false);
    if (locked.getChildFile ("probe").create().wasOk())
        locked = juce::File ("/proc");
    ASSERT_TRUE (locked.isDirectory());
    const auto wav = userSound ("z.wav");
    ASSERT_NO_FATAL_FAILURE (encodeToTrackPage ({ wav }));
    project().setOutputFormat (formatFlac);
    const auto elsewhere = root.getChildFile ("my music").getChildFile ("z elsewhere.flac");

    dialogs.chooseNext (locked);
    dialogs.chooseNext (elsewhere);
    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (saveElsewhereQuestions(), juce::StringArray (locked.getChildFile ("z.flac").getFullPathName()));
    // Written there, then named as any finished track.
    EXPECT_FALSE (elsewhere.exists());
    expectTaggedFlac (root.getChildFile ("01 - z.flac"), "z", 1);
    EXPECT_TRUE (wav.existsAsFile());
    if (locked != juce::File ("/proc"))
        locked.setReadOnly (false, false);
}
