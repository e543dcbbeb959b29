// "titles from the sleeve...": the titles read from a pasted track list, and the rows renamed
// with them through the list's own rename.
#include "editing/SleeveTitles.h"
#include "editing/TrackList.h"

#include "TrackPageFixture.h"

using namespace trackpage_test;

namespace
{
juce::StringArray parse (const juce::String& text)
{
    return SleeveTitles::parse (text);
}
} // namespace

TEST (SleeveTitles, oneTitleALineWithBlankLinesSkipped)
{
    EXPECT_EQ (parse ("Intro\n\nSecond Song\r\n   \r\nThird\r"),
               juce::StringArray ({ "Intro", "Second Song", "Third" }));
    EXPECT_EQ (parse ("  Spaces around  \n\tand a tab\t"), juce::StringArray ({ "Spaces around", "and a tab" }));
    EXPECT_TRUE (parse ("").isEmpty());
    EXPECT_TRUE (parse ("\n\n  \n").isEmpty());
}

TEST (SleeveTitles, numberingIsTakenOff)
{
    EXPECT_EQ (parse ("1. One\n2. Two"), juce::StringArray ({ "One", "Two" }));
    EXPECT_EQ (parse ("01 - One\n02 - Two"), juce::StringArray ({ "One", "Two" }));
    EXPECT_EQ (parse (juce::CharPointer_UTF8 ("1 \xe2\x80\x93 One\n2 \xe2\x80\x94 Two")),
               juce::StringArray ({ "One", "Two" }));
    EXPECT_EQ (parse ("1) One\n2: Two\n3.Three"), juce::StringArray ({ "One", "Two", "Three" }));
    EXPECT_EQ (parse ("A1 One\nA2 Two\nB1 Three\nB2 Four"), juce::StringArray ({ "One", "Two", "Three", "Four" }));
    EXPECT_EQ (parse ("B2) One\nB3. Two\nC1 - Three"), juce::StringArray ({ "One", "Two", "Three" }));
    EXPECT_EQ (parse ("10. Ten\n11 - Eleven"), juce::StringArray ({ "Ten", "Eleven" }));
}

TEST (SleeveTitles, durationsAreTakenOff)
{
    EXPECT_EQ (parse ("One 3:45\nTwo (4:02)\nThree [12:01]"), juce::StringArray ({ "One", "Two", "Three" }));
    EXPECT_EQ (parse ("One - 3:45\nTwo\t4:02\nThree ........ 1:02:33"), juce::StringArray ({ "One", "Two", "Three" }));
    EXPECT_EQ (parse ("A1. One (3:45)\nA2 - Two - 4:02"), juce::StringArray ({ "One", "Two" }));
    EXPECT_EQ (parse ("1. One  3:45  "), juce::StringArray ({ "One" }));
}

TEST (SleeveTitles, titlesThatBeginOrEndWithNumbersKeepThem)
{
    // A number followed by a blank alone is a title's own, unless every line counts up so.
    EXPECT_EQ (parse ("99 Luftballons"), juce::StringArray ("99 Luftballons"));
    EXPECT_EQ (parse ("Intro\n99 Luftballons\nOutro"), juce::StringArray ({ "Intro", "99 Luftballons", "Outro" }));
    EXPECT_EQ (parse ("1 Intro\n2 99 Luftballons\n3 Outro"),
               juce::StringArray ({ "Intro", "99 Luftballons", "Outro" }));
    EXPECT_EQ (parse ("7 Seven\n8 Eight"), juce::StringArray ({ "Seven", "Eight" }));
    EXPECT_EQ (parse ("1 One"), juce::StringArray ("One"));
    EXPECT_EQ (parse ("1 One\n3 Three"), juce::StringArray ({ "1 One", "3 Three" }));

    // Four digits, digits joined to more digits, a number in a title.
    EXPECT_EQ (parse ("1999\n2-4-6-8 Motorway\n24-7\n1.5 Miles"),
               juce::StringArray ({ "1999", "2-4-6-8 Motorway", "24-7", "1.5 Miles" }));
    EXPECT_EQ (parse ("1. 1999\n2. 99 Luftballons\n3) 7 Seas"),
               juce::StringArray ({ "1999", "99 Luftballons", "7 Seas" }));
    EXPECT_EQ (parse ("Song 2\nTrack 45"), juce::StringArray ({ "Song 2", "Track 45" }));
    EXPECT_EQ (parse ("E2-E4\nU2 Live"), juce::StringArray ({ "E2-E4", "U2 Live" }));

    // A line of nothing but a time stays a title; a line of nothing but numbering holds none.
    EXPECT_EQ (parse ("4:20\n2.\nB3"), juce::StringArray ({ "4:20", "B3" }));
}

TEST (SleeveTitles, sideHeadingsAreNoTitles)
{
    EXPECT_EQ (parse ("Side A\nA1 One\nA2 Two\n\nSide B:\nB1 Three\nFace 2\nSeite 1\nSide Effects"),
               juce::StringArray ({ "One", "Two", "Three", "Side Effects" }));
}

TEST (SleeveTitles, aTitleBecomesAFileNameAsTheEncodeRunMakesFinalNames)
{
    Project project;
    project.artist = "Someone";
    project.addTrackNumbers = true;

    // Neither number nor artist: the title alone, made legal.
    EXPECT_EQ (SleeveTitles::fileNameOf (project, "AC/DC: Live?"), "ACDC Live");
    EXPECT_EQ (SleeveTitles::fileNameOf (project, "What's \"Going\" On"), "What's Going On");
    EXPECT_EQ (SleeveTitles::fileNameOf (project, ".."), "__");
    EXPECT_EQ (SleeveTitles::fileNameOf (project, "Plain"), "Plain");
}

//==============================================================================
namespace
{
class SleeveTitlesOnTheList : public TrackFilesTest
{
protected:
    void SetUp() override
    {
        TrackFilesTest::SetUp();
        for (int i = 0; i < 4; ++i)
        {
            audio[i] = song (2000 + 100 * i, i + 1);
            files[i] = addWav ("Track" + juce::String (i + 1) + ".wav", audio[i]);
        }
        list = std::make_unique<TrackList> (project.get());
        list->setSize (210, 110);
        list->setVisible (true);
        list->updateContent();
        list->showMenu = [] (juce::PopupMenu&) { return (int) TrackList::sleeveTitlesEntry; };
    }

    void TearDown() override
    {
        list.reset();
        TrackFilesTest::TearDown();
    }

    juce::StringArray names() const
    {
        juce::StringArray result;
        for (int i = 0; i < project->trackCount(); ++i)
            result.add (project->trackName (i));
        return result;
    }

    std::unique_ptr<TrackList> list;
    WavFiles::Audio audio[4];
    juce::File files[4];
};
} // namespace

TEST_F (SleeveTitlesOnTheList, theBoxHasAMultiLineFieldWithTheFocus)
{
    dialogs.answer ("cancel", { "A1 One\nA2 Two" });
    clickRow (*list, 2, rightButton);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    EXPECT_EQ (alerts[0].icon, juce::MessageBoxIconType::QuestionIcon);
    EXPECT_EQ (alerts[0].title, "Titles from the sleeve");
    EXPECT_EQ (alerts[0].message,
               "Paste or type the titles, one a line, in the order of the tracks. Numbers and times are taken off.");
    EXPECT_EQ (alerts[0].buttons, juce::StringArray ({ "cancel", "ok" }));
    EXPECT_EQ (alerts[0].fieldNames, juce::StringArray ("titles"));
    EXPECT_EQ (alerts[0].fieldLabels, juce::StringArray ("Titles:"));
    EXPECT_EQ (alerts[0].fieldValues, juce::StringArray (""));
    EXPECT_TRUE (alerts[0].multiLineFields);
    EXPECT_EQ (alerts[0].focusedField, 0);

    // Cancelled: nothing is renamed.
    EXPECT_EQ (names(), juce::StringArray ({ "Track1", "Track2", "Track3", "Track4" }));
}

TEST_F (SleeveTitlesOnTheList, theTitlesRenameTheRowsFromTheFirstAndExtraLinesAreIgnored)
{
    dialogs.answer ("ok", { "A1 Morning 3:12\n\nA2. Noon (4:01)\nB1 - Evening\nB2) Night\nB3 Bonus 2:00" });
    clickRow (*list, 3, rightButton);

    EXPECT_EQ (names(), juce::StringArray ({ "Morning", "Noon", "Evening", "Night" }));
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_FALSE (files[i].exists());
        const auto renamed = WavFiles::read (juce::File (project->trackPath (i)));
        EXPECT_TRUE (renamed.channels == audio[i].channels) << i;
        EXPECT_EQ (juce::File (project->trackPath (i)).getParentDirectory(), folder);
    }
    EXPECT_EQ (dialogs.alerts().size(), 1u);
}

TEST_F (SleeveTitlesOnTheList, rowsWithoutATitleKeepTheirNamesAndIllegalCharactersGo)
{
    dialogs.answer ("ok", { "1. What's Going On?\n2. AC/DC: Live" });
    list->runMenuEntry (TrackList::sleeveTitlesEntry, 0);

    EXPECT_EQ (names(), juce::StringArray ({ "What's Going On", "ACDC Live", "Track3", "Track4" }));
    EXPECT_TRUE (files[2].exists());
    EXPECT_TRUE (files[3].exists());
    EXPECT_EQ (project->trackPath (0), folder.getChildFile ("What's Going On.wav").getFullPathName());
}

TEST_F (SleeveTitlesOnTheList, aTitleTakenByAnotherRowAsksAsARenameDoes)
{
    // The first title is the second row's name: the rename asks, and No leaves both rows be.
    dialogs.answer ("ok", { "Track2\nSecond" });
    dialogs.answer ("No");
    list->runMenuEntry (TrackList::sleeveTitlesEntry, 0);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    EXPECT_EQ (alerts[1].title, "File exists");
    EXPECT_EQ (alerts[1].message, "Are you sure you want to replace the existing file ?");
    EXPECT_EQ (names(), juce::StringArray ({ "Track1", "Second", "Track3", "Track4" }));
}
