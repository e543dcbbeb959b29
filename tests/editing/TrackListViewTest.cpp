// The track list of the track page: its rows, its clicks, its menu and every operation of the
// menu on real track files, with each window's words.
#include "editing/MergeThread.h"
#include "editing/TrackList.h"

#include "TrackPageFixture.h"

using namespace trackpage_test;

namespace
{
class TrackListView : public TrackFilesTest
{
protected:
    void SetUp() override
    {
        TrackFilesTest::SetUp();
        list = std::make_unique<TrackList> (project.get());
        list->setSize (210, 110);
        list->setVisible (true);
        list->showMenu = [this] (juce::PopupMenu& menu)
        {
            menus.push_back (entriesOf (menu));
            return menuAnswer;
        };
    }

    void TearDown() override
    {
        list.reset();
        TrackFilesTest::TearDown();
    }

    /** The list reads the project afresh, as the page makes it do. */
    void show() { list->updateContent(); }

    /** A right click on a row, with this entry chosen in the menu. */
    void chooseFromMenu (int row, int entry)
    {
        menuAnswer = entry;
        clickRow (*list, row, rightButton);
    }

    std::unique_ptr<TrackList> list;
    std::vector<std::vector<MenuEntry>> menus;
    int menuAnswer = 0;
};

/** Three WAV tracks of different lengths in the list, shown. */
class ThreeTracks : public TrackListView
{
protected:
    void SetUp() override
    {
        TrackListView::SetUp();
        for (int i = 0; i < 3; ++i)
        {
            audio[i] = song (3000 + 1000 * i, i + 1);
            files[i] = addWav ("Track" + juce::String (i + 1) + ".wav", audio[i]);
        }
        show();
    }

    WavFiles::Audio audio[3];
    juce::File files[3];
};

juce::StringArray namesOf (const Project& project)
{
    juce::StringArray names;
    for (int i = 0; i < project.trackCount(); ++i)
        names.add (project.trackName (i));
    return names;
}

/** Sample for sample within the one step that the way through floats may take. */
void expectSameSound (const std::vector<int>& actual, int actualFrom, const std::vector<int>& expected,
                      int expectedFrom, int count)
{
    ASSERT_GE ((int) actual.size(), actualFrom + count);
    ASSERT_GE ((int) expected.size(), expectedFrom + count);
    for (int i = 0; i < count; ++i)
        ASSERT_NEAR (actual[(size_t) (actualFrom + i)], expected[(size_t) (expectedFrom + i)], 1)
            << "frame " << actualFrom + i;
}

void expectAlert (const FakeDialogs::Alert& alert, juce::MessageBoxIconType icon, const juce::String& title,
                  const juce::String& message, const juce::StringArray& buttons)
{
    EXPECT_EQ (alert.icon, icon);
    EXPECT_EQ (alert.title, title);
    EXPECT_EQ (alert.message, message);
    EXPECT_EQ (alert.buttons, buttons);
}

void expectErrorBox (const FakeDialogs::Alert& alert, const juce::String& message)
{
    expectAlert (alert, juce::MessageBoxIconType::WarningIcon, "Groove Smith : Error", message, { "ok" });
}

/** The text window of the list: question icon, one field "newname", "cancel" then "ok". */
void expectTextWindow (const FakeDialogs::Alert& alert, const juce::String& title, const juce::String& message,
                       const juce::String& label, const juce::String& initialText)
{
    expectAlert (alert, juce::MessageBoxIconType::QuestionIcon, title, message, { "cancel", "ok" });
    EXPECT_EQ (alert.fieldNames, juce::StringArray ("newname"));
    EXPECT_EQ (alert.fieldLabels, juce::StringArray (label));
    EXPECT_EQ (alert.fieldValues, juce::StringArray (initialText));
}
} // namespace

//==============================================================================
TEST_F (TrackListView, isItsOwnModelNamedTrackListWithOneRowPerTrack)
{
    EXPECT_EQ (list->getName(), "trackList");
    EXPECT_EQ (list->getModel(), list.get());
    EXPECT_EQ (list->getCurrentRow(), -1);
    EXPECT_EQ (list->getNumRows(), 0);

    addWav ("a.wav", song (100));
    addWav ("b.wav", song (100));
    EXPECT_EQ (list->getNumRows(), 2);
}

TEST_F (ThreeTracks, aShiftClickSelectsSeveralRows)
{
    clickRow (*list, 0);
    clickRow (*list, 2,
              juce::ModifierKeys (juce::ModifierKeys::leftButtonModifier | juce::ModifierKeys::shiftModifier));

    EXPECT_EQ (list->getNumSelectedRows(), 3);
    EXPECT_EQ (list->getCurrentRow(), 2);
    EXPECT_TRUE (menus.empty());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackListView, aRowIsPaintedWithItsTrackNameAndASelectedOneOnGrey230)
{
    addWav ("A rather long song title that will not fit.wav", song (100));

    const auto paintRow = [this] (int row, bool selected)
    {
        juce::Image image (juce::Image::RGB, 210, 22, true);
        juce::Graphics g (image);
        g.fillAll (juce::Colours::white);
        list->paintListBoxItem (row, g, 210, 22, selected);
        return image;
    };

    const auto expected = [] (bool selected)
    {
        juce::Image image (juce::Image::RGB, 210, 22, true);
        juce::Graphics g (image);
        g.fillAll (selected ? juce::Colour::fromRGB (230, 230, 230) : juce::Colours::white);
        g.setColour (juce::Colours::black);
        g.setFont (juce::Font (22.0f * 0.6f, juce::Font::plain));
        g.drawText ("A rather long song title that will not fit", 5, 0, 210, 22, juce::Justification::centredLeft,
                    true);
        return image;
    };

    for (const bool selected : { true, false })
    {
        const auto actual = paintRow (0, selected);
        const auto wanted = expected (selected);
        int dark = 0;
        for (int y = 0; y < 22; ++y)
        {
            for (int x = 0; x < 210; ++x)
            {
                ASSERT_EQ (actual.getPixelAt (x, y), wanted.getPixelAt (x, y)) << x << ", " << y;
                dark += actual.getPixelAt (x, y).getBrightness() < 0.3f ? 1 : 0;
            }
        }
        EXPECT_GT (dark, 20) << "the name is drawn";
        EXPECT_EQ (actual.getPixelAt (2, 1), selected ? juce::Colour::fromRGB (230, 230, 230) : juce::Colours::white);
    }

    // A row past the end paints nothing.
    const auto past = paintRow (1, true);
    for (int y = 0; y < 22; ++y)
        for (int x = 0; x < 210; ++x)
            ASSERT_EQ (past.getPixelAt (x, y), juce::Colours::white);
}

TEST_F (ThreeTracks, theCurrentRowIsTheHighlightedOneWhetherAClickOrTheKeysChoseIt)
{
    clickRow (*list, 1);
    EXPECT_EQ (list->getCurrentRow(), 1);
    EXPECT_EQ (list->getSelectedRows().size(), 1);
    EXPECT_TRUE (list->isRowSelected (1));

    ASSERT_TRUE (pressKey (*list, juce::KeyPress (juce::KeyPress::downKey)));
    EXPECT_EQ (list->getCurrentRow(), 2);
    ASSERT_TRUE (pressKey (*list, juce::KeyPress (juce::KeyPress::homeKey)));
    EXPECT_EQ (list->getCurrentRow(), 0);

    // A right click on a row highlights it too.
    chooseFromMenu (2, 0);
    EXPECT_EQ (list->getCurrentRow(), 2);
    EXPECT_TRUE (list->isRowSelected (2));

    // With nothing highlighted there is no current row.
    list->deselectAllRows();
    EXPECT_EQ (list->getCurrentRow(), -1);
    EXPECT_EQ (menus.size(), 1u);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (ThreeTracks, aRightClickOpensTheMenuWithItsEightEntriesInOrderThenTheTwoForSongsAndTitles)
{
    chooseFromMenu (1, 0);

    ASSERT_EQ (menus.size(), 1u);
    const std::vector<std::pair<int, juce::String>> wanted{
        { 1, "rename track" },      { 3, "rename artist" },
        { 4, "rename album" },      { 5, "set year" },
        { 6, "set genre" },         { 8, "merge track with next one" },
        { 7, "remove track" },      { 2, "delete track" },
        { 9, "find the songs..." }, { 10, "titles from the sleeve..." },
    };
    ASSERT_EQ (menus[0].size(), wanted.size());
    for (size_t i = 0; i < wanted.size(); ++i)
    {
        EXPECT_EQ (menus[0][i].result, wanted[i].first);
        EXPECT_EQ (menus[0][i].text, wanted[i].second);
        EXPECT_TRUE (menus[0][i].enabled);
        EXPECT_FALSE (menus[0][i].separator);
    }

    // Dismissed: nothing happens.
    EXPECT_EQ (list->getCurrentRow(), 1);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (project->trackCount(), 3);
}

TEST_F (ThreeTracks, aCtrlClickOpensTheMenuExceptOnTheOldestWindows)
{
    clickRow (*list, 2, ctrlLeftButton);
    EXPECT_EQ (menus.size(), 1u);
    EXPECT_EQ (list->getNumSelectedRows(), 0) << "the menu's click highlights nothing";
    EXPECT_EQ (list->getCurrentRow(), -1);

    using OS = juce::SystemStats;
    EXPECT_FALSE (TrackList::ctrlClickOpensMenu (OS::Win2000));
    EXPECT_FALSE (TrackList::ctrlClickOpensMenu (OS::WinXP));
    for (auto system : { OS::WinVista, OS::Windows7, OS::Windows10, OS::Windows11, OS::Linux, OS::MacOS_12 })
        EXPECT_TRUE (TrackList::ctrlClickOpensMenu (system));
}

//==============================================================================
TEST_F (ThreeTracks, aDoubleClickOffersTheRenameWithTheTracksName)
{
    dialogs.answer ("ok", { "Side A opener" });
    doubleClickRow (*list, 1);

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    expectTextWindow (dialogs.alerts()[0], "Rename Track", "Old tracks's name: Track2", "New track's name:", "Track2");

    const auto renamed = folder.getChildFile ("Side A opener.wav");
    EXPECT_TRUE (renamed.existsAsFile());
    EXPECT_FALSE (files[1].exists());
    EXPECT_EQ (project->trackPath (1), renamed.getFullPathName());
    EXPECT_EQ (project->trackFormat (1), formatWav);
    EXPECT_EQ (WavFiles::read (renamed).channels, audio[1].channels);
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Side A opener", "Track3" }));
}

TEST_F (ThreeTracks, renameFromTheMenuStartsWithAnEmptyField)
{
    dialogs.answer ("ok", { "Finale" });
    chooseFromMenu (2, TrackList::renameTrackEntry);

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    expectTextWindow (dialogs.alerts()[0], "Rename Track", "Old tracks's name: Track3", "New track's name:", "");
    EXPECT_TRUE (folder.getChildFile ("Finale.wav").existsAsFile());
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2", "Finale" }));
}

TEST_F (ThreeTracks, anEmptyFieldCountsAsACancelAndCancelChangesNothing)
{
    dialogs.answer ("ok", { "" });
    doubleClickRow (*list, 0);
    dialogs.answer ("cancel", { "Typed but cancelled" });
    doubleClickRow (*list, 0);

    EXPECT_EQ (dialogs.alerts().size(), 2u);
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2", "Track3" }));
    EXPECT_EQ (folder.findChildFiles (juce::File::findFiles, false).size(), 3);
    EXPECT_TRUE (files[0].existsAsFile());
}

TEST_F (ThreeTracks, renamingARowToItsOwnNameLeavesEverythingInPlaceAndSucceeds)
{
    const auto before = bytesOf (files[0]);
    EXPECT_TRUE (list->renameTrack (0, "Track1"));

    dialogs.answer ("ok", { "Track1" });
    doubleClickRow (*list, 0);

    EXPECT_EQ (dialogs.alerts().size(), 1u); // the text window only
    EXPECT_EQ (bytesOf (files[0]), before);
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2", "Track3" }));
}

TEST_F (TrackListView, renamingAnOggTrackKeepsItsOggEndingWithItsContentUnchanged)
{
    const auto ogg = addEncoded ("Live.ogg", 20000);
    const auto flac = addEncoded ("Studio.flac", 20000, 2);
    const auto wav = addWav ("Demo.wav", song (2000));
    show();
    const auto before = bytesOf (ogg);

    EXPECT_EQ (list->pathForRename (0, "Encore"), folder.getChildFile ("Encore.ogg").getFullPathName());
    EXPECT_EQ (list->pathForRename (1, "Take 2"), folder.getChildFile ("Take 2.flac").getFullPathName());
    EXPECT_EQ (list->pathForRename (2, "Rough"), folder.getChildFile ("Rough.wav").getFullPathName());
    dialogs.answer ("ok", { "Encore" });
    doubleClickRow (*list, 0);

    // Ogg Vorbis data under an Ogg name: the program and every player can still read it.
    const auto renamed = folder.getChildFile ("Encore.ogg");
    EXPECT_FALSE (ogg.exists());
    EXPECT_FALSE (folder.getChildFile ("Encore.wav").exists());
    EXPECT_EQ (bytesOf (renamed), before);
    EXPECT_EQ (project->trackPath (0), renamed.getFullPathName());
    EXPECT_EQ (project->trackFormat (0), formatOgg) << "a rename doesn't touch the format";
    EXPECT_EQ (audiofiles::oggInfo (renamed).exitCode, 0) << "still an Ogg Vorbis stream";
    EXPECT_TRUE (audiofiles::readAudio (renamed).opened);
}

TEST_F (ThreeTracks, renamingOntoAnExistingTrackAsksAndReplacesItOnlyOnYes)
{
    const auto first = bytesOf (files[0]);
    const auto second = bytesOf (files[1]);

    dialogs.answer ("No");
    EXPECT_TRUE (list->renameTrack (0, "Track2"));
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    expectAlert (dialogs.alerts()[0], juce::MessageBoxIconType::WarningIcon, "File exists",
                 "Are you sure you want to replace the existing file ?", { "Yes", "No", "Cancel" });
    EXPECT_EQ (bytesOf (files[0]), first);
    EXPECT_EQ (bytesOf (files[1]), second);

    dialogs.answer ("Cancel");
    EXPECT_TRUE (list->renameTrack (0, "Track2"));
    EXPECT_EQ (bytesOf (files[1]), second);
    EXPECT_EQ (project->trackCount(), 3);

    project->lastWrittenTrack = 9;
    dialogs.answer ("Yes");
    EXPECT_TRUE (list->renameTrack (0, "Track2"));

    // The replaced file was a track of its own: it leaves the list, and the renamed row keeps its place.
    EXPECT_FALSE (files[0].exists());
    EXPECT_EQ (bytesOf (files[1]), first);
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[1], files[2] }));
    EXPECT_EQ (project->lastWrittenTrack, 1);
    EXPECT_EQ (WavFiles::read (files[2]).channels, audio[2].channels);
}

TEST_F (ThreeTracks, renamingOntoAFileOutsideTheListReplacesItAfterTheQuestion)
{
    const auto stranger = makeFile (folder, "Cover version.wav", "not a track");
    dialogs.answer ("ok", { "Cover version" });
    dialogs.answer ("Yes");
    doubleClickRow (*list, 2);

    ASSERT_EQ (dialogs.alerts().size(), 2u);
    EXPECT_EQ (dialogs.alerts()[1].title, "File exists");
    EXPECT_EQ (WavFiles::read (stranger).channels, audio[2].channels);
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2", "Cover version" }));
}

TEST_F (ThreeTracks, aRowWhoseFileVanishedLeavesTheListWithTheErrorBoxAtTheRename)
{
    ASSERT_TRUE (files[1].deleteFile());
    project->lastWrittenTrack = 7;

    dialogs.answer ("ok", { "Ghost" });
    doubleClickRow (*list, 1);

    ASSERT_EQ (dialogs.alerts().size(), 2u);
    expectErrorBox (dialogs.alerts()[1], "Can't rename the track - file not found");
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], files[2] }));
    EXPECT_EQ (project->lastWrittenTrack, 1);
    EXPECT_FALSE (folder.getChildFile ("Ghost.wav").exists());
    EXPECT_EQ (WavFiles::read (files[0]).channels, audio[0].channels);
    EXPECT_EQ (WavFiles::read (files[2]).channels, audio[2].channels);
}

TEST_F (ThreeTracks, aNameThatAFileNameCannotHoldFailsWithTheRenameErrorAndTouchesNothing)
{
    dialogs.answer ("ok", { "AC/DC" });
    doubleClickRow (*list, 0);

    ASSERT_EQ (dialogs.alerts().size(), 2u);
    expectErrorBox (dialogs.alerts()[1], "An error occured when trying to rename the track");
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2", "Track3" }));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ (WavFiles::read (files[i]).channels, audio[i].channels);
    EXPECT_EQ (folder.findChildFiles (juce::File::findFilesAndDirectories, true).size(), 3);
}

TEST_F (TrackListView, aPathWithoutAFolderHasNoRenameAndABadRowIsReported)
{
    project->addTrack ("loose.wav", formatWav);
    EXPECT_EQ (list->pathForRename (0, "x"), "");
    EXPECT_TRUE (list->renameTrack (0, "x")) << "nothing to do";
    EXPECT_TRUE (dialogs.alerts().empty());

    EXPECT_FALSE (list->renameTrack (4, "x"));
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    expectErrorBox (dialogs.alerts()[0], "Bad track selected for renaming");
    EXPECT_EQ (project->trackCount(), 1);
}

//==============================================================================
TEST_F (ThreeTracks, theAlbumWideTextsAreAskedForAndGoToTheProject)
{
    project->artist = "Nina";
    project->album = "Live";
    project->year = "1968";
    project->genre = "Jazz";

    dialogs.answer ("ok", { "Nina Simone" });
    chooseFromMenu (0, TrackList::renameArtistEntry);
    dialogs.answer ("ok", { "Live at Montreux" });
    chooseFromMenu (1, TrackList::renameAlbumEntry);
    dialogs.answer ("ok", { "1976" });
    chooseFromMenu (2, TrackList::setYearEntry);
    dialogs.answer ("ok", { "" });
    chooseFromMenu (0, TrackList::setGenreEntry);
    dialogs.answer ("cancel", { "Blues" });
    chooseFromMenu (0, TrackList::setGenreEntry);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 5u);
    expectTextWindow (alerts[0], "Rename artist", "Old artist's name: Nina", "New artist's name:", "Nina");
    expectTextWindow (alerts[1], "Rename album", "Old album's name: Live", "New album's name:", "Live");
    expectTextWindow (alerts[2], "Set year", "Old year: 1968", "New album's year:", "1968");
    expectTextWindow (alerts[3], "Set genre", "Old album's genre: Jazz", "New album's genre:", "Jazz");

    EXPECT_EQ (project->artist, "Nina Simone");
    EXPECT_EQ (project->album, "Live at Montreux");
    EXPECT_EQ (project->year, "1976");
    EXPECT_EQ (project->genre, "Jazz");
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2", "Track3" }));
}

//==============================================================================
TEST_F (ThreeTracks, mergeWritesBothTracksIntoTheFirstRowsFileAndDeletesTheSecondInARip)
{
    chooseFromMenu (0, TrackList::mergeEntry);

    EXPECT_TRUE (dialogs.alerts().empty()) << "a merge asks nothing";
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], files[2] }));
    EXPECT_FALSE (files[1].exists());

    const auto merged = WavFiles::read (files[0]);
    ASSERT_EQ (merged.frames(), audio[0].frames() + audio[1].frames());
    EXPECT_EQ (merged.rate, 44100.0);
    EXPECT_EQ (merged.bits, 16);
    for (int c = 0; c < 2; ++c)
    {
        expectSameSound (merged.channels[(size_t) c], 0, audio[0].channels[(size_t) c], 0, audio[0].frames());
        expectSameSound (merged.channels[(size_t) c], audio[0].frames(), audio[1].channels[(size_t) c], 0,
                         audio[1].frames());
    }
    EXPECT_EQ (WavFiles::read (files[2]).channels, audio[2].channels);
}

TEST_F (TrackListView, mergeInAnEncodeProjectPutsTheWavBesideTheUsersFilesAndLeavesThemAsTheyWere)
{
    project->projectType = encodeProject;
    const auto flac = addEncoded ("Part one.flac", 30000, 3);
    const auto second = addWav ("Part two.wav", song (20000, 2));
    const auto flacBytes = bytesOf (flac);
    const auto secondBytes = bytesOf (second);
    show();

    chooseFromMenu (0, TrackList::mergeEntry);

    // The row now names a WAV file of both parts; the user's FLAC file is as it was.
    const auto merged = folder.getChildFile ("Part one.wav");
    EXPECT_EQ (trackPaths (*project), pathsOf ({ merged }));
    EXPECT_EQ (project->trackFormat (0), formatWav);
    EXPECT_EQ (bytesOf (flac), flacBytes);
    EXPECT_EQ (audiofiles::readAudio (flac).length, 30000) << "still a FLAC stream";
    EXPECT_EQ (bytesOf (second), secondBytes);
    EXPECT_EQ (WavFiles::read (merged).frames(), 50000);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackListView, mergeOfANonWavRowTakesAWavNameThatIsFree)
{
    project->projectType = encodeProject;
    const auto ogg = addEncoded ("Side.ogg", 20000, 3);
    addWav ("Side.wav", song (7000, 4)); // another track of the list
    const auto usersOwn = folder.getChildFile ("Side (2).wav");
    WavFiles::write (usersOwn, song (3000, 5)); // and a file of the user's, in no list
    const auto oggBytes = bytesOf (ogg);
    const auto trackBytes = bytesOf (folder.getChildFile ("Side.wav"));
    const auto usersBytes = bytesOf (usersOwn);
    show();

    chooseFromMenu (0, TrackList::mergeEntry);

    ASSERT_EQ (project->trackCount(), 1);
    const juce::File merged (project->trackPath (0));
    EXPECT_EQ (merged.getFileExtension(), ".wav");
    EXPECT_EQ (merged.getParentDirectory(), folder);
    EXPECT_EQ (WavFiles::read (merged).frames(), (int) audiofiles::readAudio (ogg).length + 7000);
    EXPECT_EQ (bytesOf (ogg), oggBytes);
    EXPECT_EQ (bytesOf (folder.getChildFile ("Side.wav")), trackBytes);
    EXPECT_EQ (bytesOf (usersOwn), usersBytes);
}

TEST_F (ThreeTracks, mergeOnTheLastRowDoesNothing)
{
    const auto before = bytesOf (files[2]);
    chooseFromMenu (2, TrackList::mergeEntry);

    EXPECT_EQ (project->trackCount(), 3);
    EXPECT_EQ (bytesOf (files[2]), before);
    EXPECT_TRUE (files[1].existsAsFile());
}

TEST_F (ThreeTracks, mergeWithASecondFileGoneChangesNothing)
{
    ASSERT_TRUE (files[1].deleteFile());
    const auto before = bytesOf (files[0]);
    chooseFromMenu (0, TrackList::mergeEntry);

    EXPECT_EQ (project->trackCount(), 3);
    EXPECT_EQ (bytesOf (files[0]), before);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (ThreeTracks, cancellingTheMergeIsNoUndo)
{
    // The worker holds inside a read of the first file until the user's Cancel has reached it.
    bool merged = false;
    juce::String title;
    bool cancelPressed = false;
    list->merge = [&] (const juce::File& first, const juce::File& second, const juce::File& output)
    {
        MergeThread worker (first, second, output, project.get());
        std::atomic<bool> reached{ false };
        WavFiles::watchReading (*worker.formatManager,
                                [&] (int reader, juce::int64 readEnd)
                                {
                                    if (reader == 0 && readEnd > 1000 && ! reached.exchange (true))
                                        for (int i = 0; i < 20000 && ! worker.threadShouldExit(); ++i)
                                            juce::Thread::sleep (1);
                                });
        WavFiles::CancelWhen cancel ([&] { return reached.load(); });
        worker.runThread (juce::Thread::Priority::normal);
        merged = worker.success;
        title = cancel.windowTitle;
        cancelPressed = cancel.pressed;
        return worker.success;
    };
    chooseFromMenu (0, TrackList::mergeEntry);

    ASSERT_TRUE (cancelPressed);
    EXPECT_EQ (title, "Merging...");
    EXPECT_TRUE (merged) << "a cancelled merge still answers true";

    // The row holds what was written before the Cancel; the next row left the list with its file.
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], files[2] }));
    EXPECT_FALSE (files[1].exists());
    ASSERT_TRUE (files[0].existsAsFile());
    const auto written = WavFiles::read (files[0]);
    EXPECT_LT (written.frames(), audio[0].frames());
    for (int c = 0; c < 2; ++c)
        expectSameSound (written.channels[(size_t) c], 0, audio[0].channels[(size_t) c], 0, written.frames());
    EXPECT_EQ (WavFiles::read (files[2]).channels, audio[2].channels);
}

//==============================================================================
TEST_F (ThreeTracks, removeOfOneRowAsksAndLeavesTheFile)
{
    dialogs.answer ("Cancel");
    chooseFromMenu (1, TrackList::removeTrackEntry);
    EXPECT_EQ (project->trackCount(), 3);

    dialogs.answer ("OK");
    chooseFromMenu (1, TrackList::removeTrackEntry);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    expectAlert (alerts[0], juce::MessageBoxIconType::InfoIcon, "Remove Track",
                 "Are you sure to remove the track named: Track2\n(file won't be erased)", { "OK", "Cancel" });
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], files[2] }));
    EXPECT_TRUE (files[1].existsAsFile());
    EXPECT_EQ (list->getNumRows(), 2);
}

TEST_F (ThreeTracks, aMenuOnARowOutsideTheSelectionRemovesTheClickedRowWhenOneOtherIsSelected)
{
    // The menu comes up for row 2, Ctrl-clicked, while row 0 alone is selected.
    clickRow (*list, 0);
    menuAnswer = TrackList::removeTrackEntry;
    dialogs.answer ("OK");
    clickRow (*list, 2, ctrlLeftButton);

    ASSERT_EQ (menus.size(), 1u);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Remove Track");
    EXPECT_EQ (dialogs.alerts()[0].message, "Are you sure to remove the track named: Track3\n(file won't be erased)");
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2" }));
    for (const auto& file : files)
        EXPECT_TRUE (file.existsAsFile());
}

TEST_F (ThreeTracks, aCtrlClickThatOpensTheMenuLeavesTheSelectionAsItWas)
{
    clickRow (*list, 0);
    clickRow (*list, 1,
              juce::ModifierKeys (juce::ModifierKeys::leftButtonModifier | juce::ModifierKeys::shiftModifier));
    ASSERT_EQ (list->getNumSelectedRows(), 2);
    const auto selected = list->getSelectedRows();

    // Dismissed menus, on a row outside the selection and on one inside it.
    clickRow (*list, 2, ctrlLeftButton);
    EXPECT_EQ (list->getSelectedRows(), selected);
    clickRow (*list, 1, ctrlLeftButton);
    EXPECT_EQ (list->getSelectedRows(), selected);
    clickRow (*list, 0, ctrlLeftButton);
    EXPECT_EQ (list->getSelectedRows(), selected);
    EXPECT_EQ (menus.size(), 3u);
    EXPECT_EQ (project->trackCount(), 3);

    // The keys go on from the row selected last, as before the menus.
    EXPECT_EQ (list->getLastRowSelected(), 1);
    list->keyPressed (juce::KeyPress (juce::KeyPress::downKey));
    EXPECT_EQ (list->getNumSelectedRows(), 1);
    EXPECT_TRUE (list->isRowSelected (2));
}

TEST_F (ThreeTracks, removeFromACtrlClickOnTheOneSelectedRowAsksAndRemovesIt)
{
    clickRow (*list, 1);
    menuAnswer = TrackList::removeTrackEntry;
    dialogs.answer ("OK");
    clickRow (*list, 1, ctrlLeftButton);

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message, "Are you sure to remove the track named: Track2\n(file won't be erased)");
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track3" }));
    EXPECT_TRUE (files[1].existsAsFile());
}

TEST_F (ThreeTracks, deleteFromACtrlClickOutsideTheSelectionAsksForTheClickedRowAndDeletesOnlyThatOne)
{
    clickRow (*list, 0);
    menuAnswer = TrackList::deleteTrackEntry;
    dialogs.answer ("OK");
    clickRow (*list, 2, ctrlLeftButton);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    expectAlert (alerts[0], juce::MessageBoxIconType::InfoIcon, "Delete Track",
                 "Are you sure to delete the track named: Track3\n", { "OK", "Cancel" });
    EXPECT_EQ (alerts[1].message, "File has been deleted sucessfully");
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2" }));
    EXPECT_TRUE (files[0].existsAsFile());
    EXPECT_TRUE (files[1].existsAsFile());
    EXPECT_FALSE (files[2].exists());
}

TEST_F (ThreeTracks, removeOfSeveralRowsAsksNothingAndWithNoSelectionNothingHappens)
{
    list->deselectAllRows();
    list->runMenuEntry (TrackList::removeTrackEntry, 1);
    list->runMenuEntry (TrackList::deleteTrackEntry, 1);
    EXPECT_EQ (project->trackCount(), 3);

    list->selectRow (0);
    list->selectRow (2, false, false);
    list->runMenuEntry (TrackList::removeTrackEntry, 0);

    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (namesOf (*project), juce::StringArray ("Track2"));
    for (const auto& file : files)
        EXPECT_TRUE (file.existsAsFile());
}

TEST_F (ThreeTracks, deleteOfOneRowAsksThenDeletesItsFile)
{
    dialogs.answer ("Cancel");
    chooseFromMenu (0, TrackList::deleteTrackEntry);
    EXPECT_TRUE (files[0].existsAsFile());

    dialogs.answer ("OK");
    chooseFromMenu (0, TrackList::deleteTrackEntry);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 3u);
    expectAlert (alerts[0], juce::MessageBoxIconType::InfoIcon, "Delete Track",
                 "Are you sure to delete the track named: Track1\n", { "OK", "Cancel" });
    expectAlert (alerts[2], juce::MessageBoxIconType::InfoIcon, "Success", "File has been deleted sucessfully",
                 { "ok" });
    EXPECT_FALSE (files[0].exists());
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track2", "Track3" }));
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels);
}

TEST_F (ThreeTracks, deleteOfSeveralRowsAsksOnceThenDeletesTheirFiles)
{
    list->selectRow (1);
    list->selectRow (2, false, false);
    dialogs.answer ("Cancel");
    list->runMenuEntry (TrackList::deleteTrackEntry, 1);
    EXPECT_EQ (project->trackCount(), 3);

    dialogs.answer ("OK");
    list->runMenuEntry (TrackList::deleteTrackEntry, 1);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 3u);
    expectAlert (alerts[0], juce::MessageBoxIconType::InfoIcon, "Delete Tracks",
                 "Are you sure to delete the selected tracks ?\n", { "OK", "Cancel" });
    EXPECT_EQ (alerts[2].title, "Success");
    EXPECT_EQ (alerts[2].message, "Files have been deleted sucessfully");
    EXPECT_EQ (namesOf (*project), juce::StringArray ("Track1"));
    EXPECT_TRUE (files[0].existsAsFile());
    EXPECT_FALSE (files[1].exists());
    EXPECT_FALSE (files[2].exists());
}

TEST_F (ThreeTracks, deleteOfARowWhoseFileVanishedTellsAndRemovesTheRow)
{
    ASSERT_TRUE (files[2].deleteFile());
    dialogs.answer ("OK");
    chooseFromMenu (2, TrackList::deleteTrackEntry);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    expectErrorBox (alerts[1], "An error occured when trying to delete the track - file not found");
    EXPECT_EQ (namesOf (*project), juce::StringArray ({ "Track1", "Track2" }));
    EXPECT_TRUE (files[0].existsAsFile());
    EXPECT_TRUE (files[1].existsAsFile());
}
