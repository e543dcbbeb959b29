// The convertor for each format number, the extensions the run appends, the formats that iTunes
// would write, and the progress windows of the workers.
#include "encoding/AudioFiles.h"
#include "encoding/Convertor.h"
#include "encoding/CopyMyFile.h"
#include "encoding/FormatConvertors.h"
#include "encoding/ITunesBridge.h"
#include "encoding/ItunesConvertors.h"
#include "encoding/ItunesMissing.h"
#include "encoding/Mp3LameConvertor.h"
#include "encoding/WavConvertor.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/MalformedCorpus.h"

#include <gtest/gtest.h>

using namespace audiofiles;

namespace
{
template <typename Expected>
bool madeFor (int format)
{
    const auto convertor = Convertor::forFormat (format);
    return dynamic_cast<Expected*> (convertor.get()) != nullptr;
}

/** What a worker's progress window shows before it runs. */
struct WindowLook
{
    juce::String title;
    juce::StringArray buttons;
    bool hasProgressBar = false;
};

WindowLook lookOf (juce::ThreadWithProgressWindow& worker)
{
    WindowLook look;
    auto* window = worker.getAlertWindow();
    look.title = window->getName();
    for (auto* child : window->getChildren())
    {
        if (auto* button = dynamic_cast<juce::Button*> (child))
            look.buttons.add (button->getButtonText());
        if (dynamic_cast<juce::ProgressBar*> (child) != nullptr)
            look.hasProgressBar = true;
    }
    return look;
}

class ConvertorFamilyTest : public ::testing::Test
{
protected:
    FakeDialogs dialogs;
    Project project;
    juce::File folder = freshFolder ("family");
};
} // namespace

TEST_F (ConvertorFamilyTest, eachFormatNumberGetsItsConvertor)
{
    EXPECT_TRUE (madeFor<WavConvertor> (1));
    EXPECT_TRUE (madeFor<AacConvertor> (2));
    EXPECT_TRUE (madeFor<AppleLosslessConvertor> (3));
    EXPECT_TRUE (madeFor<AiffConvertor> (4));
    EXPECT_TRUE (madeFor<OggConvertor> (5));
    EXPECT_TRUE (madeFor<FlacConvertor> (6));
    EXPECT_TRUE (madeFor<Mp3Convertor> (7));
    EXPECT_TRUE (madeFor<Mp3LameConvertor> (8));
}

TEST_F (ConvertorFamilyTest, unknownFormatNumbersGetTheWavConvertor)
{
    for (const int format : { 0, -1, 9, 100 })
    {
        EXPECT_TRUE (madeFor<WavConvertor> (format)) << format;
        EXPECT_EQ (Convertor::extensionForFormat (format), ".wav") << format;
    }
}

TEST_F (ConvertorFamilyTest, theRunAppendsTheExtensionOfEachFormat)
{
    EXPECT_EQ (Convertor::extensionForFormat (1), ".wav");
    EXPECT_EQ (Convertor::extensionForFormat (2), ".m4a");
    EXPECT_EQ (Convertor::extensionForFormat (3), ".m4a");
    EXPECT_EQ (Convertor::extensionForFormat (4), ".aiff");
    EXPECT_EQ (Convertor::extensionForFormat (5), ".ogg");
    EXPECT_EQ (Convertor::extensionForFormat (6), ".flac");
    EXPECT_EQ (Convertor::extensionForFormat (7), ".mp3");
    EXPECT_EQ (Convertor::extensionForFormat (8), ".mp3");
}

TEST_F (ConvertorFamilyTest, eachFormatHasItsNameInTheFormatList)
{
    EXPECT_EQ (Convertor::formatName (1), "wav");
    EXPECT_EQ (Convertor::formatName (2), "AAC (iTunes)");
    EXPECT_EQ (Convertor::formatName (3), "Apple Lossless (iTunes)");
    EXPECT_EQ (Convertor::formatName (4), "aiff");
    EXPECT_EQ (Convertor::formatName (5), "ogg");
    EXPECT_EQ (Convertor::formatName (6), "flac");
    EXPECT_EQ (Convertor::formatName (7), "mp3 (iTunes)");
    EXPECT_EQ (Convertor::formatName (8), "mp3 (lame)");
}

TEST_F (ConvertorFamilyTest, theItunesFormatsFailSilentlyWhereThereIsNoItunes)
{
    const auto source = folder.getChildFile ("Track.wav");
    writeAudio (source, 44100.0, 16, makeSignal (2, 1000, 16));

    for (const int format : { 2, 3, 7 })
    {
        SCOPED_TRACE (format);
        project.outputFormat = format;
        const auto destination =
            folder.getChildFile ("Track" + juce::String (format) + Convertor::extensionForFormat (format));

        EXPECT_FALSE (
            Convertor::forFormat (format)->convert (source.getFullPathName(), destination.getFullPathName(), &project));
        EXPECT_FALSE (destination.exists());
    }

    EXPECT_TRUE (source.existsAsFile());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (ConvertorFamilyTest, theItunesBridgeAnswersThatItunesIsMissing)
{
    const auto wav = folder.getChildFile ("Song.wav");
    writeAudio (wav, 44100.0, 16, makeSignal (2, 1000, 16));
    const auto wavBytes = MalformedCorpus::fingerprint (wav);
    const auto mp3 = folder.getChildFile ("Other.mp3");
    ASSERT_TRUE (mp3.replaceWithText ("an MP3 only iTunes would decode"));

    // No encoder can be set up for any of iTunes' formats.
    for (const int format : { formatAacItunes, formatAppleLosslessItunes, formatMp3Itunes })
        EXPECT_EQ (ITunesBridge::withEncoderFor (format), nullptr) << format;

    // A file that only iTunes decodes does not become a WAV file, and stays as it was.
    project.outputFormat = formatWav;
    const auto decoded = folder.getChildFile ("Other.wav");
    WavConvertor convertor;
    EXPECT_FALSE (convertor.convert (mp3.getFullPathName(), decoded.getFullPathName(), &project));
    EXPECT_FALSE (decoded.exists());
    EXPECT_EQ (mp3.loadFileAsString(), "an MP3 only iTunes would decode");

    // A connection asked directly converts nothing, and takes nothing into a library.
    ITunesBridge bridge;
    const auto m4a = folder.getChildFile ("Song.m4a");
    EXPECT_NE (bridge.convertFile (wav.getFullPathName(), m4a.getFullPathName()), 0);
    EXPECT_FALSE (m4a.exists());
    ASSERT_TRUE (m4a.replaceWithText ("a file of the user's"));
    EXPECT_NE (bridge.addToLibrary (m4a.getFullPathName(), &project), 0);
    EXPECT_EQ (m4a.loadFileAsString(), "a file of the user's");

    EXPECT_EQ (MalformedCorpus::fingerprint (wav), wavBytes);
    EXPECT_EQ (folder.findChildFiles (juce::File::findFiles, false).size(), 3);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (ConvertorFamilyTest, aFinalNameHasTheTrackNumberArtistAndTitle)
{
    const auto file = folder.getChildFile ("Blue: Moon.m4a");
    ASSERT_TRUE (file.replaceWithText ("sound"));
    project.artist = "The Band";
    project.encodingTrackNumber = 7;
    project.addTrackNumbers = true;

    const auto moved = ITunesBridge::moveToFinalName (file.getFullPathName(), &project);

    EXPECT_EQ (moved, folder.getChildFile ("07 - The Band - Blue Moon.m4a").getFullPathName());
    EXPECT_TRUE (juce::File (moved).existsAsFile());
    EXPECT_FALSE (file.exists());
}

TEST_F (ConvertorFamilyTest, aFinalNameOfAMissingFileIsReported)
{
    EXPECT_EQ (ITunesBridge::moveToFinalName (folder.getChildFile ("None.m4a").getFullPathName(), &project), "");
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Groove Smith : Error");
    EXPECT_EQ (dialogs.alerts()[0].message, "Can't find track");
}

TEST_F (ConvertorFamilyTest, theItunesMissingBoxLinksToTheDownloadPage)
{
    showItunesMissing (&project);

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto box = dialogs.alerts()[0];
    EXPECT_EQ (box.icon, juce::MessageBoxIconType::QuestionIcon);
    EXPECT_EQ (box.title, "Itunes not found");
    EXPECT_EQ (box.message, "");
    EXPECT_EQ (box.linkText, "Itunes Download page");
    EXPECT_EQ (box.linkUrl.toString (false), "https://www.apple.com/itunes/");
    EXPECT_EQ (box.linkBounds, juce::Rectangle<int> (10, 230, 200, 24));
    EXPECT_EQ (box.textBlock, "Itunes is not installed - Please get Itunes");
    EXPECT_EQ (box.buttons, juce::StringArray ("ok"));
}

TEST_F (ConvertorFamilyTest, theItunesMissingBoxSpeaksTheUsersLanguage)
{
    project.strings = std::make_unique<LanguageStrings> (
        juce::String::fromUTF8 ("language: French\n"
                                "\"Itunes not found\" = \"Itunes introuvable\"\n"
                                "\"Itunes Download page\" = \"Page de téléchargement\"\n"
                                "\"Itunes is not installed - Please get Itunes\" = \"Itunes manque\"\n"
                                "\"ok\" = \"d'accord\"\n"),
        false);

    showItunesMissing (&project);

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto box = dialogs.alerts()[0];
    EXPECT_EQ (box.title, "Itunes introuvable");
    EXPECT_EQ (box.linkText, juce::String::fromUTF8 ("Page de téléchargement"));
    EXPECT_EQ (box.textBlock, "Itunes manque");
    EXPECT_EQ (box.buttons, juce::StringArray ("d'accord"));
}

TEST_F (ConvertorFamilyTest, everyWorkerShowsItsTitleAProgressBarAndAnUntranslatedCancel)
{
    const juce::String a = "/music/a.wav", b = "/music/b.out";
    const std::vector<std::pair<std::unique_ptr<juce::ThreadWithProgressWindow>, juce::String>> workers = [&]
    {
        std::vector<std::pair<std::unique_ptr<juce::ThreadWithProgressWindow>, juce::String>> list;
        list.emplace_back (std::make_unique<WavConvertorThread> (a, b, &project), "Converting to WAV...");
        list.emplace_back (std::make_unique<AiffConvertorThread> (a, b, &project), "Converting to aiff...");
        list.emplace_back (std::make_unique<FlacConvertorThread> (a, b, &project), "Converting to flac...");
        list.emplace_back (std::make_unique<OggConvertorThread> (a, b, &project), "Converting to ogg...");
        list.emplace_back (std::make_unique<AacConvertorThread> (a, b, &project), "Converting to AAC...");
        list.emplace_back (std::make_unique<AppleLosslessConvertorThread> (a, b, &project),
                           "Converting to Apple Lossless...");
        list.emplace_back (std::make_unique<Mp3ConvertorThread> (a, b, &project), "Converting to mp3...");
        list.emplace_back (std::make_unique<Mp3LameConvertorThread> (a, b, &project), "Converting to mp3...");
        return list;
    }();

    for (const auto& [worker, title] : workers)
    {
        const auto look = lookOf (*worker);
        EXPECT_EQ (look.title, title);
        EXPECT_EQ (look.buttons, juce::StringArray ("Cancel")) << title;
        EXPECT_TRUE (look.hasProgressBar) << title;
    }
}

TEST_F (ConvertorFamilyTest, workerTitlesAreTranslatedButCancelIsNot)
{
    project.strings = std::make_unique<LanguageStrings> ("language: French\n"
                                                         "\"Converting to flac...\" = \"Conversion en flac...\"\n"
                                                         "\"Converting to WAV...\" = \"Conversion en WAV...\"\n"
                                                         "\"Cancel\" = \"Annuler\"\n",
                                                         false);

    FlacConvertorThread flac ("/a.wav", "/a.flac", &project);
    WavConvertorThread wav ("/a.flac", "/a.wav", &project);

    EXPECT_EQ (lookOf (flac).title, "Conversion en flac...");
    EXPECT_EQ (lookOf (flac).buttons, juce::StringArray ("Cancel"));
    EXPECT_EQ (lookOf (wav).title, "Conversion en WAV...");
    EXPECT_EQ (lookOf (wav).buttons, juce::StringArray ("Cancel"));
}

TEST_F (ConvertorFamilyTest, workersTakeTheOutputFormatWhenTheyAreMade)
{
    project.outputFormat = 3;
    WavConvertorThread wav ("/a.mp3", "/a.wav", &project);
    AacConvertorThread aac ("/a.wav", "/a.m4a", &project);
    project.outputFormat = 5;

    EXPECT_EQ (wav.format, 3);
    EXPECT_EQ (aac.format, 3);
    EXPECT_FALSE (wav.result);
    EXPECT_TRUE (aac.result);
}

TEST_F (ConvertorFamilyTest, theCopyWindowHasNoProgressBar)
{
    CopyMyFile copy (folder.getChildFile ("a"), folder.getChildFile ("b"), false);
    const auto look = lookOf (copy);
    EXPECT_EQ (look.title, "Copying...");
    EXPECT_EQ (look.buttons, juce::StringArray ("Cancel"));
    EXPECT_FALSE (look.hasProgressBar);
}
