// The side files of a rip at the end of the encode run: they go where the recordings go, and stay
// where "keep waves" keeps them; an encode project's files and sides are never the run's to delete.
#include "app/ProjectPage.h"
#include "encoding/AudioFiles.h"
#include "project/SideRecord.h"
#include "support/WizardFixture.h"

using namespace audiofiles;

namespace
{
constexpr int formatPage = 5;
constexpr int finalPage = 6;

/** The names of the side files and records in `folder`, sorted. */
juce::StringArray sidesIn (const juce::File& folder)
{
    juce::StringArray names;
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, "Side*"))
        names.add (file.getFileName());
    names.sort (false);
    return names;
}

class EncodeRunSide : public WizardTest
{
protected:
    void SetUp() override
    {
        WizardTest::SetUp();
        Project::savedTrackListFile().deleteFile();
        root = freshFolder ("encode run sides");
        project().setRootDirectory (root.getFullPathName());
        project().setCaptureFolder (root.getFullPathName());
    }

    void TearDown() override
    {
        project().setKeepWaves (false);
        project().setOutputFormat (formatWav);
        WizardTest::TearDown();
    }

    /** Two tracks cut from one side, as a capture leaves them, and a side of an earlier album
        that is not the list's. */
    void writeCapture()
    {
        const auto side = root.getChildFile ("Side1.wav");
        writeAudio (side, 44100.0, 16, makeSignal (2, 30000, 16, 7));
        SideRecord record (side, 44100);

        for (int i = 1; i <= 2; ++i)
        {
            const auto file = root.getChildFile ("Track" + juce::String (i) + ".wav");
            writeAudio (file, 44100.0, 16, makeSignal (2, 10000, 16, (juce::uint32) i));
            record.setPlace ({ file.getFullPathName(), (i - 1) * 15000, 10000 });
            project().addTrack (file.getFullPathName(), formatWav);
        }

        record.setEnded (true);
        record.setSideSamples (30000);
        ASSERT_TRUE (record.save());

        writeAudio (root.getChildFile ("Side2.wav"), 44100.0, 16, makeSignal (2, 1000, 16, 9));
        SideRecord other (root.getChildFile ("Side2.wav"), 44100);
        other.setPlace ({ root.getChildFile ("Earlier.wav").getFullPathName(), 0, 1000 });
        ASSERT_TRUE (other.save());
    }

    /** A rip with no album data, its capture written, on the format page. */
    void ripToFormatPage()
    {
        next();
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 3);
        ASSERT_NO_FATAL_FAILURE (writeCapture());
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, formatPage);
    }

    juce::File root;
};
} // namespace

TEST_F (EncodeRunSide, aRipToFlacDeletesTheSideAndItsRecordWithTheRecordings)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    project().setOutputFormat (formatFlac);

    next();

    ASSERT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (root.getChildFile ("02 - Track2.flac").existsAsFile());
    EXPECT_FALSE (root.getChildFile ("Track1.wav").exists());
    EXPECT_EQ (sidesIn (root), juce::StringArray ({ "Side2.tracks", "Side2.wav" }));
}

TEST_F (EncodeRunSide, keepingTheWavesKeepsTheSideAndItsRecord)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    project().setKeepWaves (true);
    project().setOutputFormat (formatFlac);

    next();

    ASSERT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (root.getChildFile ("02 - Track2.flac").existsAsFile());
    EXPECT_TRUE (root.getChildFile ("Track2.wav").existsAsFile());
    EXPECT_EQ (sidesIn (root), juce::StringArray ({ "Side1.tracks", "Side1.wav", "Side2.tracks", "Side2.wav" }));
    const auto found = SideRecord::findFor (root.getChildFile ("Track2.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    EXPECT_EQ (found->getPlaces().size(), 2u);
}

TEST_F (EncodeRunSide, wavOutputMovesTheRecordingsToTheAlbumAndTheSideGoes)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    project().setOutputFormat (formatWav);

    next();

    ASSERT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (root.getChildFile ("01 - Track1.wav").existsAsFile());
    EXPECT_TRUE (root.getChildFile ("02 - Track2.wav").existsAsFile());
    EXPECT_EQ (sidesIn (root), juce::StringArray ({ "Side2.tracks", "Side2.wav" }));
}

TEST_F (EncodeRunSide, wavOutputThatKeepsTheWavesKeepsTheSide)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    project().setKeepWaves (true);
    project().setOutputFormat (formatWav);

    next();

    ASSERT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (root.getChildFile ("01 - Track1.wav").existsAsFile());
    EXPECT_EQ (sidesIn (root), juce::StringArray ({ "Side1.tracks", "Side1.wav", "Side2.tracks", "Side2.wav" }));
}

TEST_F (EncodeRunSide, anEncodeProjectLeavesTheSidesOfTheFilesItWasGiven)
{
    ASSERT_NO_FATAL_FAILURE (writeCapture());
    const juce::StringArray paths{ project().trackPath (0), project().trackPath (1) };
    project().clearTracks();

    click (wizard->projectPage->encodeButton);
    next();
    ASSERT_EQ (MainComponent::currentPage, 4);
    wizard->filesDropped (paths, 40, 40);
    next();
    ASSERT_EQ (MainComponent::currentPage, formatPage);
    project().setOutputFormat (formatFlac);

    next(); // the destination chooser is cancelled

    ASSERT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (root.getChildFile ("01 - Track1.flac").existsAsFile());
    EXPECT_TRUE (root.getChildFile ("Track1.wav").existsAsFile());
    EXPECT_TRUE (root.getChildFile ("Track2.wav").existsAsFile());
    EXPECT_EQ (sidesIn (root), juce::StringArray ({ "Side1.tracks", "Side1.wav", "Side2.tracks", "Side2.wav" }));
}
