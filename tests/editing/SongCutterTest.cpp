// "find the songs..." of the track list on real files: the box and its answers, the joined rows
// and the side file, the new tracks' samples and names, and everything that must leave the list
// and the files as they were.
#include "editing/SongCutter.h"
#include "editing/TrackList.h"

#include "RecordSides.h"
#include "TrackPageFixture.h"
#include "support/FileSizeLimit.h"

#include <map>

using namespace trackpage_test;

namespace
{
/** Three songs with short gaps between them, the needle drop before and the lift after. */
const recordsides::Side& threeSongs()
{
    static const auto side = []
    {
        recordsides::SideSpec spec;
        spec.name = "three songs";
        spec.noiseDb = -55.0;
        spec.songs = { recordsides::Song{ 9.0, -18.0 }, recordsides::Song{ 10.0, -20.0, true },
                       recordsides::Song{ 9.0, -17.0, false, false, false, false } };
        spec.gaps = { 2.0, 1.5 };
        spec.seed = 77;
        return recordsides::render (spec);
    }();
    return side;
}

/** Frames of the side through 16 bits, as a capture writes them. */
WavFiles::Audio slice (const recordsides::Side& side, juce::int64 from, juce::int64 to)
{
    WavFiles::Audio audio;
    audio.rate = side.rate;
    audio.channels.assign (2, {});
    for (auto i = from; i < to; ++i)
    {
        audio.channels[0].push_back ((int) std::lround (juce::jlimit (-1.0f, 1.0f, side.left[(size_t) i]) * 32767.0f));
        audio.channels[1].push_back ((int) std::lround (juce::jlimit (-1.0f, 1.0f, side.right[(size_t) i]) * 32767.0f));
    }
    return audio;
}

juce::StringArray strings (std::initializer_list<juce::String> texts)
{
    juce::StringArray result;
    for (const auto& text : texts)
        result.add (text);
    return result;
}

/** Every file in the folder, with its bytes. */
std::map<juce::String, juce::MemoryBlock> filesIn (const juce::File& folder)
{
    std::map<juce::String, juce::MemoryBlock> files;
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, "*", juce::File::FollowSymlinks::no))
        files[file.getFileName()] = bytesOf (file);
    return files;
}

class FindTheSongs : public TrackFilesTest
{
protected:
    /** The side cut into rows at places that are no boundaries, as a poor capture does. */
    void addRowsOfTheSide (juce::StringArray names = { "Track1.wav", "Track2.wav", "Track3.wav" })
    {
        const auto& side = threeSongs();
        const juce::int64 places[] = { 0, side.frames() * 3 / 10, side.frames() * 7 / 10, side.frames() };
        for (int i = 0; i < 3; ++i)
            rows.add (addWav (names[i], slice (side, places[i], places[i + 1])));
    }

    /** The whole side as one file, not in the list. */
    juce::File writeSideFile (const juce::String& name = "Side1.wav")
    {
        const auto file = folder.getChildFile (name);
        WavFiles::write (file, slice (threeSongs(), 0, threeSongs().frames()));
        return file;
    }

    static juce::SparseSet<int> selection (int first, int count)
    {
        juce::SparseSet<int> rows;
        rows.addRange ({ first, first + count });
        return rows;
    }

    /** The new tracks hold the side, bit for bit, one after the other, cut where the cutter says. */
    void expectTheSideCut (const SongCutter& cutter, const juce::StringArray& paths, int expectedTracks)
    {
        const auto& side = threeSongs();
        const auto& cuts = cutter.getCuts();
        ASSERT_EQ ((int) cuts.size() + 1, expectedTracks);
        ASSERT_EQ (paths.size(), expectedTracks);

        for (int k = 0; k < expectedTracks; ++k)
        {
            const auto from = k == 0 ? 0 : cuts[(size_t) k - 1];
            const auto to = k == expectedTracks - 1 ? side.frames() : cuts[(size_t) k];
            const auto wanted = slice (side, from, to);
            const auto actual = WavFiles::read (juce::File (paths[k]));
            EXPECT_EQ (actual.rate, 44100.0);
            EXPECT_EQ (actual.bits, 16);
            ASSERT_EQ (actual.channels.size(), 2u);
            EXPECT_TRUE (actual.channels == wanted.channels) << "track " << k + 1 << " is not the side's audio";
        }
    }

    /** Each cut lies between two songs. */
    void expectCutsBetweenTheSongs (const std::vector<juce::int64>& cuts)
    {
        const auto& side = threeSongs();
        ASSERT_EQ (cuts.size(), side.songs.size() - 1);
        for (size_t j = 0; j < cuts.size(); ++j)
        {
            EXPECT_GT (cuts[j], side.songs[j].end);
            EXPECT_LT (cuts[j], side.songs[j + 1].start);
        }
    }

    void expectNoTemporaryFiles()
    {
        for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, ".*"))
            ADD_FAILURE() << "left behind: " << file.getFileName();
    }

    juce::Array<juce::File> rows;
};

void expectNumberBox (const FakeDialogs::Alert& alert)
{
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::QuestionIcon);
    EXPECT_EQ (alert.title, "Find the songs");
    EXPECT_EQ (alert.message, "How many songs are there on the side? Leave the field empty and the program decides.");
    EXPECT_EQ (alert.buttons, juce::StringArray ({ "cancel", "ok" }));
    EXPECT_EQ (alert.fieldNames, juce::StringArray ("songs"));
    EXPECT_EQ (alert.fieldLabels, juce::StringArray ("Number of songs:"));
    EXPECT_EQ (alert.fieldValues, juce::StringArray (""));
    EXPECT_EQ (alert.focusedField, 0);
    EXPECT_FALSE (alert.multiLineFields);
}
} // namespace

//==============================================================================
TEST_F (FindTheSongs, theMenuEntryAsksForTheNumberWithTheFocusInTheFieldAndCancelChangesNothing)
{
    addRowsOfTheSide();
    TrackList list (project.get());
    list.setSize (210, 110);
    list.setVisible (true);
    list.updateContent();
    list.showMenu = [] (juce::PopupMenu&) { return (int) TrackList::findSongsEntry; };
    const auto before = filesIn (folder);

    dialogs.answer ("cancel", { "3" });
    clickRow (list, 1, rightButton);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectNumberBox (alerts[0]);
    EXPECT_EQ (trackPaths (*project), pathsOf ({ rows[0], rows[1], rows[2] }));
    EXPECT_EQ (filesIn (folder), before);
}

TEST_F (FindTheSongs, theMenuEntryCutsTheSelectedRows)
{
    addRowsOfTheSide();
    TrackList list (project.get());
    list.setSize (210, 110);
    list.setVisible (true);
    list.updateContent();
    list.selectRangeOfRows (0, 2);
    list.showMenu = [] (juce::PopupMenu&) { return (int) TrackList::findSongsEntry; };

    dialogs.answer ("ok", { "3" });
    list.runMenuEntry (TrackList::findSongsEntry, 0);

    EXPECT_EQ (trackPaths (*project), pathsOf ({ rows[0], rows[1], rows[2] }));
    EXPECT_EQ (list.getNumRows(), 3);
    EXPECT_EQ (dialogs.alerts().size(), 1u);
}

TEST_F (FindTheSongs, aFieldThatIsNoNumberFromOneUpIsToldAndNothingChanges)
{
    addRowsOfTheSide();
    const auto before = filesIn (folder);

    for (const auto* typed : { "abc", "0", "-3", "2.5", "3 songs", "+4" })
    {
        SongCutter cutter (*project);
        bool ran = false;
        cutter.runWorker = [&ran] (FindSongsThread&) { ran = true; };
        const auto count = dialogs.alerts().size();

        dialogs.answer ("ok", { typed });
        EXPECT_FALSE (cutter.run (0, selection (0, 3)));

        const auto alerts = dialogs.alerts();
        ASSERT_EQ (alerts.size(), count + 2) << typed;
        EXPECT_EQ (alerts.back().icon, juce::MessageBoxIconType::WarningIcon);
        EXPECT_EQ (alerts.back().title, "Groove Smith : Error");
        EXPECT_EQ (alerts.back().message, "The number of songs must be a whole number from 1 up. Leave the field "
                                          "empty and the program decides.");
        EXPECT_FALSE (ran);
    }

    EXPECT_EQ (trackPaths (*project), pathsOf ({ rows[0], rows[1], rows[2] }));
    EXPECT_EQ (filesIn (folder), before);
}

TEST_F (FindTheSongs, theJoinedRowsBecomeOneTrackASongInTheirPlaceBitForBit)
{
    const auto intro = addWav ("Intro.wav", song (4410));
    addRowsOfTheSide();
    const auto outro = addWav ("Outro.wav", song (4410, 2));

    SongCutter cutter (*project);
    dialogs.answer ("ok", { " 3 " });
    ASSERT_TRUE (cutter.run (2, selection (1, 3)));

    // Rows 1 to 3 are the three songs, named on from the first row's number.
    const auto names = juce::StringArray ({ "Track1.wav", "Track2.wav", "Track3.wav" });
    EXPECT_EQ (trackPaths (*project), pathsOf ({ intro, folder.getChildFile (names[0]), folder.getChildFile (names[1]),
                                                 folder.getChildFile (names[2]), outro }));
    expectCutsBetweenTheSongs (cutter.getCuts());
    expectTheSideCut (
        cutter,
        pathsOf ({ folder.getChildFile (names[0]), folder.getChildFile (names[1]), folder.getChildFile (names[2]) }),
        3);
    expectNoTemporaryFiles();
    EXPECT_EQ (dialogs.alerts().size(), 1u);
    for (int row = 0; row < project->trackCount(); ++row)
        EXPECT_EQ (project->trackFormat (row), formatWav);

    // A later capture numbers its files past these.
    EXPECT_GE (project->trackCounter, 3);
}

TEST_F (FindTheSongs, withTheFieldLeftEmptyTheProgramDecides)
{
    addRowsOfTheSide();

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "" });
    ASSERT_TRUE (cutter.run (0, selection (0, 3)));

    expectCutsBetweenTheSongs (cutter.getCuts());
    expectTheSideCut (cutter, trackPaths (*project), 3);
}

TEST_F (FindTheSongs, tooFewPlacesForTheNumberAreToldAndNothingChanges)
{
    addRowsOfTheSide();
    const auto before = filesIn (folder);

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "9" });
    EXPECT_FALSE (cutter.run (0, selection (0, 3)));

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    EXPECT_EQ (alerts[1].icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (alerts[1].title, "Find the songs");
    EXPECT_EQ (alerts[1].message, "There are not enough quiet places between songs to cut the audio into this "
                                  "number of songs.\nSongs asked for: 9\nPlaces to cut: 2\nNothing has been changed.");
    EXPECT_EQ (alerts[1].buttons, juce::StringArray ("ok"));
    EXPECT_EQ (trackPaths (*project), pathsOf ({ rows[0], rows[1], rows[2] }));
    EXPECT_EQ (filesIn (folder), before);
}

TEST_F (FindTheSongs, aCancelLeavesTheListAndTheFilesAsTheyWere)
{
    addRowsOfTheSide();
    const auto before = filesIn (folder);

    SongCutter cutter (*project);
    bool cancelled = false;
    cutter.runWorker = [&cancelled] (FindSongsThread& worker)
    {
        // Cancel once the tracks are being written, as the user would press it.
        worker.onProgress = [&worker, &cancelled] (double share)
        {
            if (share > 0.7 && ! cancelled)
            {
                cancelled = true;
                worker.signalThreadShouldExit();
            }
        };
        worker.runThread();
    };

    dialogs.answer ("ok", { "3" });
    EXPECT_FALSE (cutter.run (0, selection (0, 3)));

    EXPECT_TRUE (cancelled);
    EXPECT_EQ (trackPaths (*project), pathsOf ({ rows[0], rows[1], rows[2] }));
    EXPECT_EQ (filesIn (folder), before);
    EXPECT_EQ (dialogs.alerts().size(), 1u);
}

TEST_F (FindTheSongs, theProgressWindowIsTheProgramsWorkerWithItsTitle)
{
    addRowsOfTheSide();

    SongCutter cutter (*project);
    juce::String title;
    bool hasCancel = false;
    cutter.runWorker = [&] (FindSongsThread& worker)
    {
        WavFiles::CancelWhen watch (
            [&]
            {
                if (auto* window = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent()))
                {
                    title = window->getName();
                    hasCancel = window->getNumButtons() == 1;
                }
                return false;
            });
        worker.onProgress = [] (double) { juce::Thread::sleep (2); };
        worker.runThread();
    };

    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (cutter.run (0, selection (0, 3)));
    EXPECT_EQ (title, "Finding the songs...");
    EXPECT_TRUE (hasCancel);
}

TEST_F (FindTheSongs, aFullDiskLeavesTheListAndTheFilesAsTheyWere)
{
    addRowsOfTheSide();
    const auto before = filesIn (folder);

    SongCutter cutter (*project);
    cutter.runWorker = [] (FindSongsThread& worker)
    {
        // The side is megabytes long: the first new track cannot be written whole.
        FileSizeLimit full (400000);
        worker.runThread();
    };

    dialogs.answer ("ok", { "3" });
    EXPECT_FALSE (cutter.run (0, selection (0, 3)));

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    EXPECT_EQ (alerts[1].title, "Groove Smith : Error");
    EXPECT_EQ (alerts[1].message, "The new tracks could not be written in this folder: " + folder.getFullPathName() +
                                      "\nNothing has been changed.");
    EXPECT_EQ (trackPaths (*project), pathsOf ({ rows[0], rows[1], rows[2] }));
    EXPECT_EQ (filesIn (folder), before);
}

TEST_F (FindTheSongs, anEncodeProjectKeepsTheUsersFilesAndTakesFreeNames)
{
    project->projectType = encodeProject;
    addRowsOfTheSide();
    const auto before = filesIn (folder);

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (cutter.run (0, selection (0, 3)));

    const auto made = pathsOf ({ folder.getChildFile ("Track1 (2).wav"), folder.getChildFile ("Track2 (2).wav"),
                                 folder.getChildFile ("Track3 (2).wav") });
    EXPECT_EQ (trackPaths (*project), made);
    expectTheSideCut (cutter, made, 3);

    // The user's files are all still there, untouched.
    const auto after = filesIn (folder);
    for (const auto& [name, bytes] : before)
    {
        ASSERT_EQ (after.count (name), 1u) << name;
        EXPECT_TRUE (after.at (name) == bytes) << name;
    }

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    EXPECT_EQ (alerts[1].icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (alerts[1].title, "Find the songs");
    EXPECT_EQ (alerts[1].message, "These names belong to other files, so the new tracks have other names:\n"
                                  "Track1.wav -> Track1 (2).wav\nTrack2.wav -> Track2 (2).wav\n"
                                  "Track3.wav -> Track3 (2).wav");
}

TEST_F (FindTheSongs, aNameThatBelongsToAnotherRowOrAnotherFileIsNotTaken)
{
    const auto intro = addWav ("Intro.wav", song (4410));
    addRowsOfTheSide ({ "Track2.wav", "Track3.wav", "Track9.wav" });
    const auto track4 = makeFile (folder, "Track4.wav", "the user's own");
    const auto track3Row = addWav ("Track3 (2).wav", song (4410, 3));

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (cutter.run (1, selection (1, 3)));

    // Track2 and Track3 were rows replaced, so their names are free; Track4 is someone's file.
    const auto made = pathsOf ({ folder.getChildFile ("Track2.wav"), folder.getChildFile ("Track3.wav"),
                                 folder.getChildFile ("Track4 (2).wav") });
    EXPECT_EQ (trackPaths (*project),
               strings ({ intro.getFullPathName(), made[0], made[1], made[2], track3Row.getFullPathName() }));
    expectTheSideCut (cutter, made, 3);
    EXPECT_EQ (track4.loadFileAsString(), "the user's own");
    EXPECT_FALSE (rows[2].exists()); // the replaced Track9 is gone
    EXPECT_TRUE (track3Row.exists());
    EXPECT_EQ (dialogs.alerts().back().message,
               "These names belong to other files, so the new tracks have other names:\nTrack4.wav -> Track4 (2).wav");
}

TEST_F (FindTheSongs, aRowNotNamedTrackNumbersTheNewTracksFromItsPlace)
{
    addWav ("Intro.wav", song (4410));
    addWav ("Interlude.wav", song (4410, 2));
    const auto whole = addWav ("Whole side.wav", slice (threeSongs(), 0, threeSongs().frames()));

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (cutter.run (2, selection (2, 1)));

    EXPECT_EQ (project->trackName (2), "Track3");
    EXPECT_EQ (project->trackName (3), "Track4");
    EXPECT_EQ (project->trackName (4), "Track5");
    EXPECT_FALSE (whole.exists());
    expectTheSideCut (cutter, strings ({ project->trackPath (2), project->trackPath (3), project->trackPath (4) }), 3);
}

TEST_F (FindTheSongs, oneSongInOneRowLeavesTheRowAsItIs)
{
    const auto only = addWav ("Track1.wav", slice (threeSongs(), 0, threeSongs().songs[0].end + 44100));
    const auto before = filesIn (folder);

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "1" });
    EXPECT_FALSE (cutter.run (0, selection (0, 1)));

    EXPECT_EQ (dialogs.alerts().back().message, "Only one song was found: the track stays as it is.");
    EXPECT_EQ (trackPaths (*project), pathsOf ({ only }));
    EXPECT_EQ (filesIn (folder), before);
}

TEST_F (FindTheSongs, anUnreadableRowIsToldAndNothingChanges)
{
    addRowsOfTheSide();
    rows[1].replaceWithText ("no audio in here");
    const auto before = filesIn (folder);

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "3" });
    EXPECT_FALSE (cutter.run (0, selection (0, 3)));

    EXPECT_EQ (dialogs.alerts().back().title, "Groove Smith : Error");
    EXPECT_EQ (dialogs.alerts().back().message, "This audio could not be read: " + rows[1].getFullPathName());
    EXPECT_EQ (filesIn (folder), before);
}

TEST_F (FindTheSongs, theSideFileIsCutAgainFromItsStartWithAnotherNumber)
{
    addRowsOfTheSide();
    const auto other = addWav ("Other.wav", song (4410));
    const auto sideFile = writeSideFile();
    const auto sideBytes = bytesOf (sideFile);

    // The side holds the rows it was cut into, whatever they are called now.
    juce::Array<int> sideRows{ 0, 1, 2 };
    const auto findSide = [&] (const Project&, int row) -> std::optional<CapturedSide>
    {
        if (! sideRows.contains (row))
            return std::nullopt;
        return CapturedSide{ sideFile, sideRows };
    };

    SongCutter first (*project);
    first.findSide = findSide;
    dialogs.answer ("ok", { "2" });
    ASSERT_TRUE (first.run (1, selection (3, 1))); // the selection does not count: the side does
    ASSERT_EQ (project->trackCount(), 3);
    expectTheSideCut (first, strings ({ project->trackPath (0), project->trackPath (1) }), 2);
    EXPECT_EQ (project->trackPath (2), other.getFullPathName());

    // Again, with three: from the side, not from the two tracks just made.
    sideRows = { 0, 1 };
    SongCutter second (*project);
    second.findSide = findSide;
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (second.run (0, {}));
    ASSERT_EQ (project->trackCount(), 4);
    expectCutsBetweenTheSongs (second.getCuts());
    expectTheSideCut (second, strings ({ project->trackPath (0), project->trackPath (1), project->trackPath (2) }), 3);
    EXPECT_EQ (project->trackPath (3), other.getFullPathName());

    // The side itself stays as it was.
    EXPECT_TRUE (bytesOf (sideFile) == sideBytes);
    EXPECT_EQ (trackPaths (*project).joinIntoString ("|"),
               pathsOf ({ folder.getChildFile ("Track1.wav"), folder.getChildFile ("Track2.wav"),
                          folder.getChildFile ("Track3.wav"), other })
                   .joinIntoString ("|"));
}

TEST_F (FindTheSongs, cuttingTheJoinedTracksAgainStartsFromTheSameAudio)
{
    addRowsOfTheSide();

    // Two songs asked for first: one boundary is missed on purpose.
    SongCutter first (*project);
    dialogs.answer ("ok", { "2" });
    ASSERT_TRUE (first.run (0, selection (0, 3)));
    ASSERT_EQ (project->trackCount(), 2);
    expectTheSideCut (first, trackPaths (*project), 2);

    // The two tracks hold the whole side between them, so that joined again they are the side.
    SongCutter second (*project);
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (second.run (1, selection (0, 2)));
    ASSERT_EQ (project->trackCount(), 3);
    expectCutsBetweenTheSongs (second.getCuts());
    expectTheSideCut (second, trackPaths (*project), 3);
}

TEST_F (FindTheSongs, rowsAtDifferentRatesAreJoinedAt44100)
{
    project->projectType = encodeProject;
    const auto& side = threeSongs();
    const auto firstHalf = side.songs[1].start - 22050;

    // The first part as if played at 48000: the same frames, another rate.
    auto fast = slice (side, 0, firstHalf);
    fast.rate = 48000.0;
    const auto a = addWav ("a.wav", fast);
    const auto b = addWav ("b.wav", slice (side, firstHalf, side.frames()));

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (cutter.run (0, selection (0, 2)));

    ASSERT_EQ (project->trackCount(), 3);
    juce::int64 frames = 0;
    for (int row = 0; row < 3; ++row)
    {
        const auto audio = WavFiles::read (juce::File (project->trackPath (row)));
        EXPECT_EQ (audio.rate, 44100.0);
        frames += audio.frames();
    }
    const auto expected = (juce::int64) std::floor ((double) firstHalf * 44100.0 / 48000.0) + side.frames() - firstHalf;
    EXPECT_EQ (frames, expected);
    EXPECT_TRUE (a.exists());
    EXPECT_TRUE (b.exists());
}

TEST_F (FindTheSongs, aMonoRowGivesBothChannelsItsSamples)
{
    auto mono = slice (threeSongs(), 0, threeSongs().frames());
    mono.channels.resize (1);
    addWav ("Track1.wav", mono);

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "3" });
    ASSERT_TRUE (cutter.run (0, selection (0, 1)));

    ASSERT_EQ (project->trackCount(), 3);
    juce::int64 from = 0;
    for (int row = 0; row < 3; ++row)
    {
        const auto audio = WavFiles::read (juce::File (project->trackPath (row)));
        ASSERT_EQ (audio.channels.size(), 2u);
        EXPECT_TRUE (audio.channels[0] == audio.channels[1]);
        for (int i = 0; i < audio.frames(); i += 997)
            ASSERT_EQ (audio.channels[0][(size_t) i], mono.channels[0][(size_t) (from + i)]);
        from += audio.frames();
    }
    EXPECT_EQ (from, threeSongs().frames());
}

//==============================================================================
TEST (FindSongsThread, aCancelWhileWritingDeletesEveryNewFile)
{
    const auto folder = freshFolder ("cancelled");
    const auto sideFile = folder.getChildFile ("side.wav");
    WavFiles::write (sideFile, slice (threeSongs(), 0, threeSongs().frames()));

    AudioFilesSource source (juce::Array<juce::File>{ sideFile });
    juce::File unreadable;
    ASSERT_TRUE (source.open (unreadable));

    FindSongsThread worker (source, 3, folder);
    juce::StringArray seen;
    worker.onProgress = [&] (double share)
    {
        if (share > 0.8)
        {
            for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, ".groovesmith-song*"))
                seen.addIfNotAlreadyThere (file.getFileName());
            worker.signalThreadShouldExit();
        }
    };
    worker.runThread();

    EXPECT_EQ (worker.outcome, FindSongsThread::Outcome::cancelled);
    EXPECT_EQ (seen.size(), 3);
    EXPECT_TRUE (worker.parts.empty());
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFiles), 1);
}

TEST (FindTheSongsTexts, theNewEntriesAndTheBoxSpeakTheUsersLanguageWhileTheListsOwnEntriesStayEnglish)
{
    const auto code = "s" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
    const auto file = Project::programFolder().getChildFile ("lang-" + code + ".txt");
    ASSERT_TRUE (file.replaceWithText ("language: Test\n\n"
                                       "\"find the songs...\" = \"trouver les morceaux...\"\n"
                                       "\"titles from the sleeve...\" = \"titres de la pochette...\"\n"
                                       "\"rename track\" = \"never shown\"\n"
                                       "\"Find the songs\" = \"Trouver les morceaux\"\n"
                                       "\"Number of songs:\" = \"Nombre de morceaux :\"\n"
                                       "\"cancel\" = \"annuler\"\n"
                                       "\"ok\" = \"d'accord\"\n"
                                       "\"Titles from the sleeve\" = \"Titres de la pochette\"\n"));
    {
        Project project;
        project.getSettings().setValue ("lang", code);
    }
    {
        FakeDialogs dialogs;
        Project project;
        const auto menu = TrackList::makeMenu (&project);
        auto copy = menu;
        const auto entries = entriesOf (copy);
        ASSERT_EQ (entries.size(), 10u);
        EXPECT_EQ (entries[0].text, "rename track");
        EXPECT_EQ (entries[8].text, "trouver les morceaux...");
        EXPECT_EQ (entries[9].text, "titres de la pochette...");

        SongCutter cutter (project);
        dialogs.answer ("annuler");
        EXPECT_FALSE (cutter.askForSongs().has_value());
        ASSERT_EQ (dialogs.alerts().size(), 1u);
        EXPECT_EQ (dialogs.alerts()[0].title, "Trouver les morceaux");
        EXPECT_EQ (dialogs.alerts()[0].fieldLabels, juce::StringArray ("Nombre de morceaux :"));
        EXPECT_EQ (dialogs.alerts()[0].buttons, juce::StringArray ({ "annuler", "d'accord" }));
    }
    file.deleteFile();
    forgetWhatTheProgramKeeps();
}
