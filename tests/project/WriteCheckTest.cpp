// Whether a file can be written, found out as a real write finds it out.
#include "project/WriteCheck.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace
{
const juce::String kanji (juce::CharPointer_UTF8 ("\xe6\xbc\xa2"));
} // namespace

TEST (WriteCheck, anExistingFileIsWritableAndLeftUntouched)
{
    const auto folder = freshFolder ("write check");
    const auto file = folder.getChildFile ("kept.wav");
    ASSERT_TRUE (file.replaceWithText ("the user's bytes"));
    const auto modified = file.getLastModificationTime();

    EXPECT_TRUE (WriteCheck::canWrite (file));
    EXPECT_EQ (file.loadFileAsString(), "the user's bytes");
    EXPECT_EQ (file.getLastModificationTime(), modified);
}

TEST (WriteCheck, aMissingFileIsTriedAndNothingIsLeftBehind)
{
    const auto folder = freshFolder ("write check");
    EXPECT_TRUE (WriteCheck::canWrite (folder.getChildFile ("new.flac")));
    EXPECT_TRUE (folder.findChildFiles (juce::File::findFilesAndDirectories, false).isEmpty());

    // No folder to make it in, a folder in its place, a name too long: no.
    EXPECT_FALSE (WriteCheck::canWrite (folder.getChildFile ("no such folder").getChildFile ("new.flac")));
    EXPECT_FALSE (folder.getChildFile ("no such folder").exists());
    const auto aFolder = folder.getChildFile ("a folder.flac");
    aFolder.createDirectory();
    EXPECT_FALSE (WriteCheck::canWrite (aFolder));
    EXPECT_FALSE (WriteCheck::canWrite (folder.getChildFile (juce::String::repeatedString (kanji, 90))));
}

TEST (WriteCheck, aPlaceTheSystemRefusesIsNotWritableWhateverThePermissionsSay)
{
    // Nobody writes into /proc, an administrator included, though permissions let one pass.
    const juce::File proc ("/proc/groovesmith-probe.wav");
    EXPECT_FALSE (WriteCheck::canWrite (proc));

    // A folder without write permission: the answer is the one a real write gets, which for
    // an administrator is yes.
    const auto folder = freshFolder ("read only");
    ::chmod (folder.getFullPathName().toRawUTF8(), 0555);
    const auto inside = folder.getChildFile ("x.flac");
    const bool realWrite = fileCanBeMade (folder, "x.flac");
    EXPECT_EQ (WriteCheck::canWrite (inside), realWrite);
    EXPECT_FALSE (inside.exists());
    ::chmod (folder.getFullPathName().toRawUTF8(), 0755);
}
