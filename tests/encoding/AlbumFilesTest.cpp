// A finished track's tags, its final name in the album folder, and the covers beside it. Tags are
// read back by TagLib and by mutagen, which reads them the way a user's player does.
#include "encoding/AlbumFiles.h"
#include "encoding/AudioFiles.h"
#include "project/FileNames.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace audiofiles;

namespace
{
/** "Café" as its UTF-8 bytes read one by one as Latin-1: "CafÃ©". */
const juce::String cafeAsLatin1 = juce::String (juce::CharPointer_UTF8 ("Caf\xc3\x83\xc2\xa9"));
const juce::String cafe = juce::String (juce::CharPointer_UTF8 ("Caf\xc3\xa9"));

class AlbumFilesTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        REQUIRE_TOOL ("flac", "flac");
        REQUIRE_TOOL ("metaflac", "flac");
        REQUIRE_TOOL ("ogginfo", "vorbis-tools");
        const auto python = runTool ({ pythonWithMutagen(), "-c", "import mutagen" });
        ASSERT_EQ (python.exitCode, 0) << "mutagen is missing: install python3-mutagen (script/setup installs it)";

        folder = freshFolder ("album files");
        albumFolder = folder.getChildFile ("Artist - Album");
        albumFolder.createDirectory();
        project.setCaptureFolder (albumFolder.getFullPathName());
        project.setOutputFormat (formatFlac);
        project.setAddTrackNumbers (true);
    }

    void TearDown() override
    {
        project.setOutputFormat (formatWav);
        project.setAddTrackNumbers (true);
    }

    /** A short sound file of the format its name says, outside the album folder. */
    juce::File makeAudio (const juce::String& name, int channels = 2)
    {
        const auto file = folder.getChildFile (name);
        writeAudio (file, 44100.0, 16, makeSignal (channels, 4410, 16));
        return file;
    }

    /** A small picture of the format its extension says, or any other bytes. */
    juce::File makePicture (const juce::String& name, bool png)
    {
        juce::Image image (juce::Image::RGB, 8, 8, true);
        image.clear (image.getBounds(), juce::Colours::orange);
        const auto file = folder.getChildFile (name);
        file.deleteFile();
        juce::FileOutputStream stream (file);
        if (png)
            juce::PNGImageFormat().writeImageToStream (image, stream);
        else
            juce::JPEGImageFormat().writeImageToStream (image, stream);
        return file;
    }

    /** TagLib and mutagen both read these fields; to mutagen an empty text, and a year of 0,
        are no field at all. */
    static void expectTags (const juce::File& file, const juce::String& title, const juce::String& album,
                            const juce::String& artist, unsigned int year, const juce::String& genre,
                            unsigned int track)
    {
        const auto tags = tagLibTags (file);
        ASSERT_TRUE (tags.opened);
        EXPECT_EQ (tags.title, title);
        EXPECT_EQ (tags.album, album);
        EXPECT_EQ (tags.artist, artist);
        EXPECT_EQ (tags.year, year);
        EXPECT_EQ (tags.genre, genre);
        EXPECT_EQ (tags.track, track);

        const auto orAbsent = [] (const juce::String& text)
        { return text.isEmpty() ? juce::String ("(absent)") : text; };
        const auto read = mutagenTags (file);
        EXPECT_EQ (mutagenField (read, "title"), orAbsent (title)) << juce::JSON::toString (read);
        EXPECT_EQ (mutagenField (read, "album"), orAbsent (album));
        EXPECT_EQ (mutagenField (read, "artist"), orAbsent (artist));
        EXPECT_EQ (mutagenField (read, "date"), year == 0 ? juce::String ("(absent)") : juce::String (year));
        EXPECT_EQ (mutagenField (read, "genre"), orAbsent (genre));
        EXPECT_EQ (mutagenField (read, "tracknumber"), juce::String (track));
    }

    juce::StringArray albumFolderNames() const
    {
        juce::StringArray names;
        for (const auto& file : albumFolder.findChildFiles (juce::File::findFilesAndDirectories, false))
            names.add (file.getFileName());
        names.sort (false);
        return names;
    }

    FakeDialogs dialogs;
    Project project;
    AlbumFiles album{ project };
    juce::File folder, albumFolder;
};
} // namespace

//==============================================================================
TEST_F (AlbumFilesTest, everyFieldOfAFlacFileIsWrittenAndReadBackByTagLibAndMutagen)
{
    const auto file = makeAudio ("Track7.flac");
    project.album = cafe + " Noir";
    project.artist = "AC/DC";
    project.year = "1979";
    project.genre = "Hard Rock";

    album.writeTags ("Highway", file, 7);

    expectTags (file, "Highway", cafeAsLatin1 + " Noir", "AC/DC", 1979u, "Hard Rock", 7u);

    // The file still plays.
    const auto test = runTool ({ "flac", "-t", "-s", file.getFullPathName() });
    EXPECT_EQ (test.exitCode, 0) << test.output;
}

TEST_F (AlbumFilesTest, everyFieldOfAnOggFileIsWrittenAndReadBackByTagLibAndMutagen)
{
    project.setOutputFormat (formatOgg);
    const auto file = makeAudio ("Track12.ogg", 1);
    project.album = "Blue";
    project.artist = "Joni";
    project.year = "1971";
    project.genre = "Folk";

    album.writeTags ("A Case of You", file, 12);

    expectTags (file, "A Case of You", "Blue", "Joni", 1971u, "Folk", 12u);
    EXPECT_EQ (oggInfo (file).exitCode, 0);
}

TEST_F (AlbumFilesTest, anAccentedLetterArrivesAsTwoCharactersAndAEuroSignAsThree)
{
    const auto file = makeAudio ("Accents.flac");
    project.album = cafe;
    project.artist = juce::String (juce::CharPointer_UTF8 ("\xe2\x82\xac"));

    album.writeTags (cafe, file, 1);

    const auto tags = tagLibTags (file);
    EXPECT_EQ (tags.album, cafeAsLatin1);
    EXPECT_EQ (tags.album.length(), 5);
    EXPECT_EQ (tags.title, cafeAsLatin1);
    EXPECT_EQ (tags.artist, juce::String (juce::CharPointer_UTF8 ("\xc3\xa2\xc2\x82\xc2\xac")));
    EXPECT_EQ (tags.artist.length(), 3);

    const auto read = mutagenTags (file);
    EXPECT_EQ (mutagenField (read, "album"), cafeAsLatin1);
    EXPECT_EQ (mutagenField (read, "title"), cafeAsLatin1);
    EXPECT_EQ (mutagenField (read, "artist").length(), 3);
}

TEST_F (AlbumFilesTest, anEmptyYearWritesZeroAndEmptyFieldsOverrideWhatTheSourceHeld)
{
    const auto file = makeAudio ("Retagged.flac");
    const auto preset = runTool ({ "metaflac", "--set-tag=DATE=1999", "--set-tag=ARTIST=Old Artist",
                                   "--set-tag=ALBUM=Old Album", file.getFullPathName() });
    ASSERT_EQ (preset.exitCode, 0) << preset.output;
    ASSERT_EQ (tagLibTags (file).year, 1999u);

    album.writeTags ("New Title", file, 3);

    expectTags (file, "New Title", "", "", 0u, "", 3u);
}

TEST_F (AlbumFilesTest, theYearIsTheTextsLeadingNumberAndZeroWhenThereIsNone)
{
    const std::pair<const char*, unsigned int> cases[] = {
        { "1975 remaster", 1975u }, { "nineteen", 0u }, { "-5", 0u }, { "  2001", 2001u }
    };
    int n = 0;
    for (const auto& [text, expected] : cases)
    {
        SCOPED_TRACE (text);
        const auto file = makeAudio ("Year" + juce::String (++n) + ".flac");
        project.year = text;
        album.writeTags ("Title", file, 1);
        EXPECT_EQ (tagLibTags (file).year, expected);
    }
}

TEST_F (AlbumFilesTest, theItunesFormatsAndFilesWithoutATagAreLeftAsTheyAre)
{
    const auto flac = makeAudio ("Untouched.flac");
    const auto before = flac.loadFileAsString();
    project.artist = "Someone";

    for (const int itunesFormat : { formatAacItunes, formatAppleLosslessItunes, formatMp3Itunes })
    {
        project.setOutputFormat (itunesFormat);
        album.writeTags ("Title", flac, 1);
        EXPECT_EQ (flac.loadFileAsString(), before);
    }

    project.setOutputFormat (formatFlac);
    const auto text = folder.getChildFile ("Not audio.flac");
    text.replaceWithText ("no sound in here");
    album.writeTags ("Title", text, 1);
    EXPECT_EQ (text.loadFileAsString(), "no sound in here");

    album.writeTags ("Title", folder.getChildFile ("Gone.flac"), 1);
    EXPECT_FALSE (folder.getChildFile ("Gone.flac").exists());
    EXPECT_TRUE (dialogs.alerts().empty());
}

//==============================================================================
TEST_F (AlbumFilesTest, theFinalNameIsNumberArtistAndTitleWithPaddingBelowTen)
{
    project.artist = "Artist";
    const std::pair<int, const char*> cases[] = { { 7, "07 - Artist - Title.flac" },
                                                  { 9, "09 - Artist - Title.flac" },
                                                  { 10, "10 - Artist - Title.flac" },
                                                  { 123, "123 - Artist - Title.flac" } };

    for (const auto& [number, name] : cases)
    {
        SCOPED_TRACE (name);
        const auto file = makeAudio ("Track.flac");
        album.moveTrackToAlbum ("Title", file, number);
        EXPECT_FALSE (file.exists());
        EXPECT_TRUE (albumFolder.getChildFile (name).existsAsFile());
    }
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (AlbumFilesTest, anArtistWithASlashLosesItInTheNameAndKeepsItInTheTag)
{
    project.artist = "AC/DC";
    const auto file = makeAudio ("Track1.flac");
    album.writeTags ("Thunder", file, 1);
    album.moveTrackToAlbum ("Thunder", file, 1);

    const auto moved = albumFolder.getChildFile ("01 - ACDC - Thunder.flac");
    ASSERT_TRUE (moved.existsAsFile());
    EXPECT_EQ (tagLibTags (moved).artist, "AC/DC");
    EXPECT_EQ (mutagenField (mutagenTags (moved), "artist"), "AC/DC");
}

TEST_F (AlbumFilesTest, charactersNoFileNameMayHoldAreRemovedFromArtistAndTitle)
{
    project.artist = "\"#@,;:<>*^|?\\/Band";
    const auto file = makeAudio ("Track2.flac");
    album.moveTrackToAlbum ("What?: \"Now\" <1/2>", file, 2);

    EXPECT_EQ (albumFolderNames(), juce::StringArray ("02 - Band - What Now 12.flac"));
}

TEST_F (AlbumFilesTest, withNoArtistAndNumberingOffTheFileKeepsItsOwnName)
{
    project.setAddTrackNumbers (false);
    const auto file = makeAudio ("My Song.flac");
    album.moveTrackToAlbum ("My Song", file, 4);

    EXPECT_FALSE (file.exists());
    EXPECT_EQ (albumFolderNames(), juce::StringArray ("My Song.flac"));
}

TEST_F (AlbumFilesTest, aLongPlainTitleKeepsAllOfItsLettersWhileTheNameFits)
{
    project.artist = "Artist";
    const auto title = juce::String::repeatedString ("Long title ", 20).trimEnd(); // 219 letters
    const auto file = makeAudio ("Track1.flac");

    album.moveTrackToAlbum (title, file, 1);

    EXPECT_EQ (albumFolderNames(), juce::StringArray ("01 - Artist - " + title + ".flac"));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (AlbumFilesTest, namesInScriptsOfThreeAndFourBytesALetterAreCutToFitOnAWholeLetter)
{
    const juce::String kanji (juce::CharPointer_UTF8 ("\xe6\xbc\xa2"));
    const juce::String clef (juce::CharPointer_UTF8 ("\xf0\x9d\x84\x9e"));
    const std::pair<juce::String, juce::String> cases[] = {
        { juce::String::repeatedString (kanji, 100), juce::String::repeatedString (kanji, 120) },
        { juce::String::repeatedString (clef, 70), juce::String::repeatedString (clef, 90) },
        { "Short", juce::String::repeatedString (clef, 90) },
        { juce::String::repeatedString ("a", 300), "Title" },
    };

    int number = 0;
    for (const auto& [artist, title] : cases)
    {
        SCOPED_TRACE (number + 1);
        project.artist = artist;
        const auto file = makeAudio ("Track.flac");
        album.moveTrackToAlbum (title, file, ++number);

        EXPECT_FALSE (file.exists());
        const auto names = albumFolderNames();
        ASSERT_EQ (names.size(), number);
        const auto name = names[number - 1];
        const auto* bytes = name.toRawUTF8();
        EXPECT_TRUE (juce::CharPointer_UTF8::isValidString (bytes, (int) std::strlen (bytes)));
        EXPECT_LE (FileNames::bytesOf (name), 255);
        EXPECT_GT (FileNames::bytesOf (name), 255 - 4);

        // Number, a piece of the artist, a piece of the title, the extension.
        const auto prefix = "0" + juce::String (number) + " - ";
        ASSERT_TRUE (name.startsWith (prefix)) << name;
        const auto artistPart = name.substring (prefix.length()).upToFirstOccurrenceOf (" - ", false, false);
        const auto titlePart = name.fromFirstOccurrenceOf (prefix + artistPart + " - ", false, false)
                                   .upToLastOccurrenceOf (".flac", false, false);
        EXPECT_TRUE (name.endsWith (".flac"));
        EXPECT_TRUE (artist.startsWith (artistPart)) << artistPart;
        EXPECT_TRUE (title.startsWith (titlePart)) << titlePart;
        EXPECT_GE (titlePart.length(), juce::jmin (title.length(), 20));
    }
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (AlbumFilesTest, aFileAlreadyAtItsFinalNameIsLeftAlone)
{
    project.artist = "Artist";
    const auto file = albumFolder.getChildFile ("03 - Artist - Title.flac");
    writeAudio (file, 44100.0, 16, makeSignal (2, 100, 16));
    const auto size = file.getSize();

    album.moveTrackToAlbum ("Title", file, 3);

    EXPECT_TRUE (file.existsAsFile());
    EXPECT_EQ (file.getSize(), size);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (AlbumFilesTest, aTakenFinalNameOpensTheSaveDialogAndCancellingLeavesTheFile)
{
    project.artist = "Artist";
    const auto taken = albumFolder.getChildFile ("01 - Artist - Title.flac");
    taken.replaceWithText ("the earlier file");
    const auto file = makeAudio ("Track1.flac");
    const auto size = file.getSize();

    album.moveTrackToAlbum ("Title", file, 1);

    ASSERT_EQ (dialogs.choosers().size(), 1u);
    const auto chooser = dialogs.choosers()[0];
    EXPECT_EQ (chooser.request.title, "Save elsewhere");
    EXPECT_EQ (chooser.request.mode, FileRequest::Mode::saveFile);
    EXPECT_EQ (chooser.request.initial, taken);
    EXPECT_TRUE (chooser.request.warnAboutOverwriting);
    EXPECT_TRUE (file.existsAsFile());
    EXPECT_EQ (file.getSize(), size);
    EXPECT_EQ (taken.loadFileAsString(), "the earlier file");

    // Given a place, the file goes there.
    const auto elsewhere = albumFolder.getChildFile ("01 - Artist - Title (2).flac");
    dialogs.chooseNext (elsewhere);
    album.moveTrackToAlbum ("Title", file, 1);
    EXPECT_FALSE (file.exists());
    EXPECT_EQ (elsewhere.getSize(), size);
    EXPECT_EQ (taken.loadFileAsString(), "the earlier file");
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (AlbumFilesTest, aMoveThatFailsIsReportedOncePerTrack)
{
    project.setCaptureFolder (folder.getChildFile ("no such album").getFullPathName());
    const juce::Array<juce::File> files{ makeAudio ("Track1.flac"), makeAudio ("Track2.flac"),
                                         makeAudio ("Track3.flac") };

    for (int i = 0; i < files.size(); ++i)
    {
        album.moveTrackToAlbum ("Title " + juce::String (i + 1), files[i], i + 1);

        // One box for this track, as soon as its move fails, and none more.
        ASSERT_EQ (dialogs.alerts().size(), (size_t) i + 1);
        EXPECT_EQ (dialogs.alerts()[(size_t) i].title, "Groove Smith : Error");
        EXPECT_EQ (dialogs.alerts()[(size_t) i].message, "An error occured when trying to move the track");
        EXPECT_EQ (dialogs.alerts()[(size_t) i].icon, juce::MessageBoxIconType::WarningIcon);
    }

    for (const auto& file : files)
        EXPECT_TRUE (file.existsAsFile()) << file.getFileName();
    EXPECT_FALSE (folder.getChildFile ("no such album").exists());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (AlbumFilesTest, theItunesFormatsAreNotMoved)
{
    project.setOutputFormat (formatAacItunes);
    const auto file = folder.getChildFile ("Track1.m4a");
    file.replaceWithText ("iTunes moves this itself");
    album.moveTrackToAlbum ("Title", file, 1);
    EXPECT_TRUE (file.existsAsFile());
    EXPECT_TRUE (albumFolderNames().isEmpty());
}

TEST_F (AlbumFilesTest, namesOfDotsNeverLeaveTheAlbumFolder)
{
    EXPECT_EQ (AlbumFiles::keptInsideFolder (".."), "__");
    EXPECT_EQ (AlbumFiles::keptInsideFolder ("."), "_");
    EXPECT_EQ (AlbumFiles::keptInsideFolder (""), "_");
    EXPECT_EQ (AlbumFiles::keptInsideFolder ("..."), "...");
    EXPECT_EQ (AlbumFiles::keptInsideFolder ("a..b"), "a..b");

    const auto parentBefore = folder.findChildFiles (juce::File::findFilesAndDirectories, false).size();

    // A title of two dots and a file with no extension would name the album folder's parent.
    project.setAddTrackNumbers (false);
    const auto bare = folder.getChildFile ("bare");
    bare.replaceWithText ("sound");
    album.moveTrackToAlbum ("..", bare, 1);
    EXPECT_TRUE (albumFolder.getChildFile ("__").existsAsFile());

    // An artist of dots is only a part of the name.
    project.setAddTrackNumbers (true);
    project.artist = "..";
    const auto file = makeAudio ("Track2.flac");
    album.moveTrackToAlbum ("../../Title", file, 2);
    EXPECT_TRUE (albumFolder.getChildFile ("02 - .. - ....Title.flac").existsAsFile());

    EXPECT_EQ (folder.findChildFiles (juce::File::findFilesAndDirectories, false).size(), parentBefore);
    EXPECT_EQ (albumFolderNames(), juce::StringArray ({ "02 - .. - ....Title.flac", "__" }));
    EXPECT_TRUE (dialogs.choosers().empty());
}

//==============================================================================
TEST_F (AlbumFilesTest, coversAreCopiedAsFrontAndBackWithTheirOwnExtensions)
{
    project.frontCover = makePicture ("scan front.JPG", false);
    project.backCover = makePicture ("back.png", true);

    album.copyCoversToAlbumFolder();

    EXPECT_EQ (albumFolderNames(), juce::StringArray ({ "Back.png", "Front.JPG" }));
    EXPECT_EQ (albumFolder.getChildFile ("Front.JPG").loadFileAsString(), project.frontCover.loadFileAsString());
    EXPECT_TRUE (albumFolder.getChildFile ("Back.png").hasIdenticalContentTo (project.backCover));
    // The user's pictures stay, and the project still points at them.
    EXPECT_TRUE (project.frontCover.existsAsFile());
    EXPECT_EQ (project.frontCover, folder.getChildFile ("scan front.JPG"));
}

TEST_F (AlbumFilesTest, anEarlierCoverIsReplaced)
{
    albumFolder.getChildFile ("Front.jpg").replaceWithText ("an older picture");
    project.frontCover = makePicture ("new.jpg", false);

    album.copyCoversToAlbumFolder();

    EXPECT_TRUE (albumFolder.getChildFile ("Front.jpg").hasIdenticalContentTo (project.frontCover));
}

TEST_F (AlbumFilesTest, aMissingCoverIsSkippedAndACoverThatIsNoPictureIsCopiedSilently)
{
    project.frontCover = folder.getChildFile ("vanished.jpg");
    const auto notAPicture = folder.getChildFile ("letter.png");
    notAPicture.replaceWithText ("Dear user, this is no picture.");
    project.backCover = notAPicture;
    albumFolder.getChildFile ("Back.png").replaceWithText ("an earlier back cover");

    album.copyCoversToAlbumFolder();

    EXPECT_EQ (albumFolderNames(), juce::StringArray ("Back.png"));
    EXPECT_EQ (albumFolder.getChildFile ("Back.png").loadFileAsString(), "Dear user, this is no picture.");
    EXPECT_TRUE (notAPicture.existsAsFile());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (AlbumFilesTest, aCoverThatIsAlreadyTheOneInTheAlbumFolderStays)
{
    const auto inPlace = albumFolder.getChildFile ("Front.jpg");
    inPlace.deleteFile();
    {
        juce::Image image (juce::Image::RGB, 4, 4, true);
        juce::FileOutputStream stream (inPlace);
        juce::JPEGImageFormat().writeImageToStream (image, stream);
    }
    const auto size = inPlace.getSize();
    project.frontCover = inPlace;

    album.copyCoversToAlbumFolder();

    EXPECT_TRUE (inPlace.existsAsFile());
    EXPECT_EQ (inPlace.getSize(), size);
}
