// The encode run's record of the files it wrote: which file counts as the program's own for a
// track, and the record on disk, kept across starts of the program and read safely.
#include "encoding/WrittenFiles.h"
#include "support/MalformedCorpus.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
class WrittenFilesTest : public ::testing::Test
{
protected:
    juce::File makeFile (const juce::String& name, const juce::String& text)
    {
        const auto file = folder.getChildFile (name);
        EXPECT_TRUE (file.replaceWithText (text));
        return file;
    }

    /** Gives the file a time of change of its own, as a later write would. */
    static void touchLater (const juce::File& file, int seconds)
    {
        file.setLastModificationTime (file.getLastModificationTime() + juce::RelativeTime::seconds (seconds));
    }

    juce::File folder = freshFolder ("written");
    juce::File recordFile = folder.getChildFile ("record");
};
} // namespace

TEST_F (WrittenFilesTest, aFileWrittenFromASourceIsOursForThatSourceAlone)
{
    const auto source = makeFile ("Track1.wav", "recording");
    const auto finished = makeFile ("01 - Track1.flac", "encoded");
    const auto other = makeFile ("Track2.wav", "another recording");

    WrittenFiles record (recordFile);
    const auto origin = record.originOf (source);
    EXPECT_EQ (origin.path, source.getFullPathName());
    EXPECT_EQ (origin.stamp.size, 9);
    EXPECT_FALSE (record.isOurs (finished, origin));

    record.remember (finished, origin);
    EXPECT_TRUE (record.isOurs (finished, origin));
    EXPECT_TRUE (record.isOurs (finished, record.originOf (source)));
    EXPECT_FALSE (record.isOurs (finished, record.originOf (other)));
    EXPECT_FALSE (record.isOurs (source, origin));
}

TEST_F (WrittenFilesTest, aChangeToTheFileOrToItsSourceMakesItTheUsersAgain)
{
    const auto source = makeFile ("Track1.wav", "recording");
    const auto finished = makeFile ("01 - Track1.flac", "encoded");
    WrittenFiles record (recordFile);
    const auto origin = record.originOf (source);
    record.remember (finished, origin);

    // The same size, but written again later: not the file the run left.
    ASSERT_TRUE (finished.replaceWithText ("ENCODED"));
    touchLater (finished, 5);
    EXPECT_FALSE (record.isOurs (finished, origin));

    // Noted again, then the source is a new recording at the same path.
    record.remember (finished, origin);
    EXPECT_TRUE (record.isOurs (finished, origin));
    ASSERT_TRUE (source.replaceWithText ("new recording"));
    EXPECT_FALSE (record.isOurs (finished, record.originOf (source)));

    // Gone, it is no one's.
    finished.deleteFile();
    EXPECT_FALSE (record.isOurs (finished, origin));
}

TEST_F (WrittenFilesTest, aWavFileOfOursStandsForTheSourceItWasMadeFrom)
{
    const auto flac = makeFile ("song.flac", "user's flac");
    const auto wav = makeFile ("song.wav", "decoded");
    const auto finished = makeFile ("01 - song.ogg", "encoded");

    WrittenFiles record (recordFile);
    const auto origin = record.originOf (flac);
    record.remember (wav, origin);
    record.remember (finished, origin);

    // A list that now names the WAV file is still the same track.
    EXPECT_EQ (record.originOf (wav), origin);
    EXPECT_TRUE (record.isOurs (finished, record.originOf (wav)));

    // Unless the WAV file has changed since.
    ASSERT_TRUE (wav.appendText (" and more"));
    EXPECT_EQ (record.originOf (wav).path, wav.getFullPathName());
    EXPECT_FALSE (record.isOurs (finished, record.originOf (wav)));
}

TEST_F (WrittenFilesTest, theRecordIsKeptOnDiskAndReadBackByTheNextStart)
{
    const auto source = makeFile ("Tab\there.wav", "recording");
    const auto finished = makeFile ("01 - line\nbreak \\ back.flac", "encoded");
    const auto gone = folder.getChildFile ("gone.flac");

    {
        WrittenFiles record (recordFile);
        record.remember (finished, record.originOf (source));
        record.remember (gone, record.originOf (source));
        ASSERT_TRUE (record.save());
    }

    const auto lines = juce::StringArray::fromLines (recordFile.loadFileAsString().trimEnd());
    ASSERT_EQ (lines.size(), 2);
    EXPECT_EQ (lines[0], "Groovesmith written files 1");
    EXPECT_TRUE (lines[1].startsWith (folder.getFullPathName() + "/01 - line\\nbreak \\\\ back.flac\t7\t"));

    WrittenFiles again (recordFile);
    EXPECT_TRUE (again.isOurs (finished, again.originOf (source)));
    EXPECT_FALSE (again.isOurs (gone, again.originOf (source)));
}

TEST_F (WrittenFilesTest, aDamagedRecordCountsAsEmptyAndTheBrokenLinesAreSkipped)
{
    const auto source = makeFile ("Track1.wav", "recording");
    const auto finished = makeFile ("01.flac", "encoded");
    const auto good =
        finished.getFullPathName() + "\t7\t" + juce::String (finished.getLastModificationTime().toMilliseconds()) +
        "\t" + source.getFullPathName() + "\t9\t" + juce::String (source.getLastModificationTime().toMilliseconds());
    const auto origin = WrittenFiles (recordFile).originOf (source);

    // Lines of the wrong shape around the good one; bytes that are no text.
    recordFile.replaceWithText ("Groovesmith written files 1\nno tabs at all\n\t1\t2\t\t3\t4\n" + good +
                                "\nx\tNaN\t1\ty\t1\t1\n" + good + "\t7\n");
    EXPECT_TRUE (WrittenFiles (recordFile).isOurs (finished, origin));

    const char garbage[] = "Groovesmith written files 1\n\xff\xfe\t\x80\t1\n";
    recordFile.replaceWithData (garbage, sizeof (garbage) - 1);
    EXPECT_FALSE (WrittenFiles (recordFile).isOurs (finished, origin));

    // Another first line, or a record past its size limit: nothing is known.
    recordFile.replaceWithText ("something else\n" + good + "\n");
    EXPECT_FALSE (WrittenFiles (recordFile).isOurs (finished, origin));

    juce::MemoryOutputStream huge;
    huge << "Groovesmith written files 1\n" << good << "\n";
    while (huge.getDataSize() <= (size_t) WrittenFiles::largestRecord)
        huge << juce::String::repeatedString ("z", 1000) << "\n";
    recordFile.replaceWithData (huge.getData(), huge.getDataSize());
    EXPECT_FALSE (WrittenFiles (recordFile).isOurs (finished, origin));

    // A folder of something else where the record should be: it stays.
    recordFile.deleteFile();
    recordFile.createDirectory();
    recordFile.getChildFile ("inside").replaceWithText ("kept");
    WrittenFiles unreadable (recordFile);
    EXPECT_FALSE (unreadable.isOurs (finished, origin));
    unreadable.remember (finished, origin);
    EXPECT_FALSE (unreadable.save());
    EXPECT_EQ (recordFile.getChildFile ("inside").loadFileAsString(), "kept");
}

TEST_F (WrittenFilesTest, theRecordKeepsTheLatestFilesOnly)
{
    const auto source = makeFile ("Track1.wav", "recording");
    const auto first = makeFile ("first.flac", "encoded");
    const auto second = makeFile ("second.flac", "encoded");
    const auto last = makeFile ("last.flac", "encoded");
    WrittenFiles record (recordFile);
    const auto origin = record.originOf (source);

    // One file noted again and again is one entry.
    for (int i = 0; i < WrittenFiles::maxEntries; ++i)
        record.remember (first, origin);
    ASSERT_TRUE (record.save());
    EXPECT_EQ (juce::StringArray::fromLines (recordFile.loadFileAsString().trimEnd()).size(), 2);

    // A record of more files than it keeps, oldest first: the oldest are not read.
    const auto lineFor = [&] (const juce::File& file)
    {
        const auto stamp = WrittenFiles::stampOf (file);
        return file.getFullPathName() + "\t" + juce::String (stamp.size) + "\t" + juce::String (stamp.modified) + "\t" +
               origin.path + "\t" + juce::String (origin.stamp.size) + "\t" + juce::String (origin.stamp.modified);
    };
    juce::StringArray lines ("Groovesmith written files 1", lineFor (first), lineFor (second));
    for (int i = 0; i < WrittenFiles::maxEntries - 2; ++i)
        lines.add (folder.getChildFile ("gone " + juce::String (i) + ".flac").getFullPathName() + "\t1\t1\t/a\t1\t1");
    lines.add (lineFor (last));
    ASSERT_TRUE (recordFile.replaceWithText (lines.joinIntoString ("\n") + "\n"));

    WrittenFiles read (recordFile);
    EXPECT_FALSE (read.isOurs (first, origin));
    EXPECT_TRUE (read.isOurs (second, origin));
    EXPECT_TRUE (read.isOurs (last, origin));

    // One more noted: the oldest kept gives way.
    read.remember (makeFile ("newest.flac", "encoded"), origin);
    EXPECT_FALSE (read.isOurs (second, origin));
    EXPECT_TRUE (read.isOurs (last, origin));
    ASSERT_TRUE (read.save());
    EXPECT_EQ (juce::StringArray::fromLines (recordFile.loadFileAsString().trimEnd()).size(),
               WrittenFiles::maxEntries + 1);
}

TEST_F (WrittenFilesTest, theProgramsRecordLivesBesideTheSettings)
{
    EXPECT_EQ (WrittenFiles::defaultLocation(), testHome().getChildFile (".config/Tonewell/Groovesmith.written"));
}

//==============================================================================
TEST (MalformedFiles, EveryRecordOfWrittenFilesIsReadSafelyAndWrittenAfreshWhole)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "text" }), { "written" });
    ASSERT_GE (entries.size(), 10u);
    const auto location = WrittenFiles::defaultLocation();
    const auto track = freshFolder ("tracks").getChildFile ("Track1.wav");
    ASSERT_TRUE (track.replaceWithText ("a recording"));

    for (const auto& entry : entries)
    {
        SCOPED_TRACE (MalformedCorpus::nameOf (entry));
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        location.getParentDirectory().createDirectory();
        location.deleteRecursively();
        if (entry.file.isDirectory())
            location.createDirectory();
        else
            entry.file.copyFileTo (location);

        WrittenFiles record;
        const auto origin = record.originOf (track);
        EXPECT_EQ (origin.path, track.getFullPathName());
        EXPECT_FALSE (record.isOurs (track, origin));

        // What is noted after it is kept whole, whatever the record held before.
        record.remember (track, origin);
        if (record.save())
        {
            WrittenFiles again;
            EXPECT_TRUE (again.isOurs (track, origin));
        }
        location.deleteRecursively();
    }
}
