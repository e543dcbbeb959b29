#include "project/Project.h"
#include "support/FakeAudioDevice.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
juce::File settingsFile()
{
    return Project::settingsFileLocation();
}

void writeSettings (const juce::String& text)
{
    settingsFile().getParentDirectory().createDirectory();
    ASSERT_TRUE (settingsFile().replaceWithText (text));
}

juce::String documentsFolder()
{
    return juce::File::getSpecialLocation (juce::File::userDocumentsDirectory).getFullPathName();
}

void expectDefaults (const Project& project)
{
    EXPECT_EQ (project.rootDirectory, documentsFolder());
    EXPECT_EQ (project.captureFolder, documentsFolder());
    EXPECT_FALSE (project.preamp);
    EXPECT_EQ (project.threshold, -55);
    EXPECT_EQ (project.silenceLength, 15);
    EXPECT_EQ (project.minSilence, 2);
    EXPECT_EQ (project.outputFormat, formatWav);
    EXPECT_EQ (project.deviceId, 0);
    EXPECT_TRUE (project.lameVbr);
    EXPECT_EQ (project.lameQuality, 2);
    EXPECT_FALSE (project.keepWaves);
    EXPECT_TRUE (project.addTrackNumbers);
    EXPECT_EQ (project.lameLibrary, Project::defaultLameLibrary());
    EXPECT_EQ (project.translate ("Next"), "Next");
}
} // namespace

TEST (Settings, settingsLiveInTheUsersConfigurationFolder)
{
    EXPECT_EQ (settingsFile(), testHome().getChildFile (".config/Tonewell/Groovesmith.settings"));
}

TEST (Settings, firstStartGivesTheDefaults)
{
    FakeDialogs dialogs;
    ASSERT_FALSE (settingsFile().exists());

    Project project;
    expectDefaults (project);
    EXPECT_EQ (project.projectType, ripProject);
    EXPECT_EQ (project.firstTrackPending, -1);
    EXPECT_TRUE (project.rumbleOn);
    EXPECT_FALSE (project.captureRunning);
    EXPECT_FALSE (project.captureStarted);
    EXPECT_EQ (project.audioReader, nullptr);
    EXPECT_TRUE (project.encodingDestination.isEmpty());
    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (Settings, theLameLibraryIsLookedForBesideTheProgramThenOnTheSystem)
{
    const auto besideProgram = Project::programFolder().getChildFile ("libmp3lame.so.0");
    ASSERT_FALSE (besideProgram.exists());

    const juce::File systemCopy ("/usr/lib/x86_64-linux-gnu/libmp3lame.so.0");
    if (systemCopy.existsAsFile())
        EXPECT_EQ (Project::defaultLameLibrary(), systemCopy);
    else
        EXPECT_EQ (Project::defaultLameLibrary(), besideProgram);
}

TEST (Settings, aChangeReachesTheDiskHalfASecondLater)
{
    Project project;
    project.setThreshold (-40);
    EXPECT_FALSE (settingsFile().existsAsFile()) << "saved at once";

    runMessageLoopFor (800);
    ASSERT_TRUE (settingsFile().existsAsFile());
    EXPECT_TRUE (settingsFile().loadFileAsString().contains ("<VALUE name=\"threshold\" val=\"-40\"/>"));
}

TEST (Settings, aNormalEndSavesPendingChanges)
{
    {
        Project project;
        project.setSilenceLength (20);
    }
    EXPECT_TRUE (settingsFile().loadFileAsString().contains ("<VALUE name=\"silencelength\" val=\"20\"/>"));
}

TEST (Settings, settingsSurviveARestartWithTheseBytesOnDisk)
{
    {
        Project project;
        project.setPreamp (true);
        project.setRootDirectory ("/music/records");
        project.setOutputFormat (formatFlac);
        project.setThreshold (-48);
        project.setSilenceLength (12);
        project.setMinSilence (3);
        project.setLameVbr (false);
        project.setLameQuality (192);
        project.setKeepWaves (true);
        project.setAddTrackNumbers (false);
    }

    const juce::String expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                                  "\r\n"
                                  "<PROPERTIES>\r\n"
                                  "  <VALUE name=\"preamp\" val=\"1\"/>\r\n"
                                  "  <VALUE name=\"rootdir\" val=\"/music/records\"/>\r\n"
                                  "  <VALUE name=\"outputformat\" val=\"6\"/>\r\n"
                                  "  <VALUE name=\"threshold\" val=\"-48\"/>\r\n"
                                  "  <VALUE name=\"silencelength\" val=\"12\"/>\r\n"
                                  "  <VALUE name=\"minsilence\" val=\"3\"/>\r\n"
                                  "  <VALUE name=\"lame_vbr\" val=\"0\"/>\r\n"
                                  "  <VALUE name=\"lame_quality\" val=\"192\"/>\r\n"
                                  "  <VALUE name=\"keep_waves\" val=\"1\"/>\r\n"
                                  "  <VALUE name=\"add_track_num\" val=\"0\"/>\r\n"
                                  "</PROPERTIES>\r\n";
    EXPECT_EQ (settingsFile().loadFileAsString(), expected);

    Project again;
    EXPECT_TRUE (again.preamp);
    EXPECT_EQ (again.rootDirectory, "/music/records");
    EXPECT_EQ (again.captureFolder, "/music/records");
    EXPECT_EQ (again.outputFormat, formatFlac);
    EXPECT_EQ (again.threshold, -48);
    EXPECT_EQ (again.silenceLength, 12);
    EXPECT_EQ (again.minSilence, 3);
    EXPECT_FALSE (again.lameVbr);
    EXPECT_EQ (again.lameQuality, 192);
    EXPECT_TRUE (again.keepWaves);
    EXPECT_FALSE (again.addTrackNumbers);
}

TEST (Settings, keyNamesMatchWhateverTheirCase)
{
    writeSettings ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n"
                   "  <VALUE name=\"THRESHOLD\" val=\"-30\"/>\n"
                   "  <VALUE name=\"PreAmp\" val=\"1\"/>\n"
                   "  <VALUE name=\"MinSilence\" val=\"5\"/>\n"
                   "</PROPERTIES>\n");
    Project project;
    EXPECT_EQ (project.threshold, -30);
    EXPECT_TRUE (project.preamp);
    EXPECT_EQ (project.minSilence, 5);
}

TEST (Settings, aSetterWritesThroughAtOnceToTheSettings)
{
    Project project;
    project.setOutputFormat (formatWav);
    EXPECT_EQ (project.getSettings().getValue ("outputformat"), "1");
    project.setOutputFormat (formatOgg);
    EXPECT_EQ (project.getSettings().getValue ("outputformat"), "5");
    EXPECT_EQ (project.outputFormat, formatOgg);
}

TEST (Settings, setRootDirectoryLeavesTheCaptureFolderToTheCaller)
{
    Project project;
    const auto before = project.captureFolder;
    project.setRootDirectory ("/elsewhere");
    EXPECT_EQ (project.rootDirectory, "/elsewhere");
    EXPECT_EQ (project.captureFolder, before);
}

TEST (Settings, theLameLibraryIsStoredOnlyWhenItExists)
{
    Project project;
    project.setLameLibrary (testHome().getChildFile ("missing.so.0"));
    EXPECT_FALSE (project.getSettings().containsKey ("lame"));

    const auto existing = testHome().getChildFile ("libmp3lame.so.0");
    ASSERT_TRUE (existing.replaceWithText ("not really a library"));
    project.setLameLibrary (existing);
    EXPECT_EQ (project.getSettings().getValue ("lame"), existing.getFullPathName());
    EXPECT_EQ (project.lameLibrary, existing);
}

TEST (Settings, aSettingsFileThatIsNotXmlGivesTheDefaultsSilently)
{
    FakeDialogs dialogs;
    writeSettings ("this is not xml at all <<<");
    Project project;
    expectDefaults (project);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (Settings, anEmptySettingsFileGivesTheDefaultsSilently)
{
    FakeDialogs dialogs;
    writeSettings ("");
    Project project;
    expectDefaults (project);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (Settings, valuesOfTheWrongTypeGiveTheDefaultsSilently)
{
    FakeDialogs dialogs;
    writeSettings ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n"
                   "  <VALUE name=\"preamp\" val=\"maybe\"/>\n"
                   "  <VALUE name=\"threshold\" val=\"loud\"/>\n"
                   "  <VALUE name=\"silencelength\" val=\"12.5.3\"/>\n"
                   "  <VALUE name=\"minsilence\" val=\"\"/>\n"
                   "  <VALUE name=\"outputformat\" val=\"flac\"/>\n"
                   "  <VALUE name=\"deviceid\" val=\"99999999999999\"/>\n"
                   "  <VALUE name=\"lame_vbr\" val=\"2x\"/>\n"
                   "  <VALUE name=\"lame_quality\" val=\"high\"/>\n"
                   "  <VALUE name=\"keep_waves\" val=\"yes please\"/>\n"
                   "  <VALUE name=\"add_track_num\" val=\"-\"/>\n"
                   "  <VALUE name=\"devicesettings\" val=\"&lt;not xml\"/>\n"
                   "</PROPERTIES>\n");
    Project project;
    expectDefaults (project);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (Settings, aMissingLanguageFileLeavesEveryTextInEnglish)
{
    writeSettings ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n"
                   "  <VALUE name=\"lang\" val=\"fr\"/>\n</PROPERTIES>\n");
    ASSERT_FALSE (Project::programFolder().getChildFile ("lang-fr.txt").exists());

    FakeDialogs dialogs;
    Project project;
    EXPECT_EQ (project.translate ("Next"), "Next");
    EXPECT_EQ (project.translate ("What do you want to do ?"), "What do you want to do ?");
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (Settings, aLanguageFileOfRandomBytesLeavesTheTextsInEnglish)
{
    const auto code = "zz" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
    const auto file = Project::programFolder().getChildFile ("lang-" + code + ".txt");
    juce::MemoryBlock noise;
    juce::Random random (1234);
    for (int i = 0; i < 4096; ++i)
        noise.append (&(const char&) static_cast<char> (random.nextInt (256)), 1);
    ASSERT_TRUE (file.replaceWithData (noise.getData(), noise.getSize()));

    writeSettings ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n"
                   "  <VALUE name=\"lang\" val=\"" +
                   code + "\"/>\n</PROPERTIES>\n");
    {
        FakeDialogs dialogs;
        Project project;
        EXPECT_EQ (project.translate ("Next"), "Next");
        EXPECT_EQ (project.translate ("Help"), "Help");
        EXPECT_TRUE (dialogs.alerts().empty());
    }
    file.deleteFile();
}

TEST (Settings, levelsRiseAtOnceAndFallByTheFixedRatio)
{
    float input[2] = { 0.0f, 0.0f };
    Project::smoothedLevels (input); // settles the shown pair
    for (int i = 0; i < 200; ++i)
        Project::smoothedLevels (input);

    input[0] = 80.0f;
    input[1] = 40.0f;
    auto* shown = Project::smoothedLevels (input);
    EXPECT_EQ (shown[0], 80.0f);
    EXPECT_EQ (shown[1], 40.0f);

    input[0] = 10.0f;
    input[1] = 40.0f;
    shown = Project::smoothedLevels (input);
    EXPECT_EQ (shown[0], (float) (10.0 + (80.0 - 10.0) / 1.2300000190734863));
    EXPECT_EQ (shown[1], 40.0f);

    shown = Project::smoothedLevels (input);
    const double once = 10.0 + (80.0 - 10.0) / 1.2300000190734863;
    EXPECT_EQ (shown[0], (float) (10.0 + ((float) once - 10.0) / 1.2300000190734863));
}

TEST (Settings, theFallIsComputedInDoublesToTheLastBit)
{
    // Each step, worked out in doubles from the shown value and the new level, rounded once.
    const auto step = [] (float held, float level)
    { return held < level ? level : (float) (level + ((double) held - (double) level) / 1.2300000190734863); };
    // The same step with the difference taken in floats first, a bit off now and then.
    const auto floatDifference = [] (float held, float level)
    { return held < level ? level : (float) (level + (double) (held - level) / 1.2300000190734863); };

    float input[2] = { 1000.0f, 1000.0f };
    const float* shown = Project::smoothedLevels (input); // rises at once to a known pair
    float expected[2] = { shown[0], shown[1] };
    ASSERT_EQ (expected[0], 1000.0f);

    juce::Random random (42);
    int steps = 0, floatDifferences = 0;
    for (; steps < 5000; ++steps)
    {
        // Mostly falls towards levels of every size, sometimes a rise.
        for (int channel = 0; channel < 2; ++channel)
            input[channel] = random.nextInt (10) == 0 ? expected[channel] * 1.5f + 0.01f
                                                      : expected[channel] * random.nextFloat() * 0.999f;

        const float left = step (expected[0], input[0]);
        const float right = step (expected[1], input[1]);
        if (floatDifference (expected[0], input[0]) != left || floatDifference (expected[1], input[1]) != right)
            ++floatDifferences;

        shown = Project::smoothedLevels (input);
        ASSERT_EQ (shown[0], left) << "step " << steps << ": " << expected[0] << " towards " << input[0];
        ASSERT_EQ (shown[1], right) << "step " << steps << ": " << expected[1] << " towards " << input[1];
        expected[0] = left;
        expected[1] = right;
    }

    // The pairs tried are ones on which the two ways of computing part.
    EXPECT_GT (floatDifferences, 100);
}

TEST (Settings, theLevelPairFeedsTheSmoothing)
{
    Project project;
    project.setLevelPair (300.0f, 200.0f); // above anything shown before
    const auto* shown = project.smoothedLevels();
    EXPECT_EQ (shown[0], 300.0f);
    EXPECT_EQ (shown[1], 200.0f);
}

TEST (Settings, waveformSamplesAreTakenOnceAndEmptied)
{
    Project project;
    const float values[] = { 0.1f, 0.2f, 0.3f };
    project.addWaveformSamples (values, 3);
    project.addWaveformSamples (values, 0);
    project.addWaveformSamples (values, -2);
    project.addWaveformSamples (values + 2, 1);

    const auto taken = project.takeWaveformSamples();
    ASSERT_EQ (taken.size(), 4);
    EXPECT_EQ (taken[0], 0.1f);
    EXPECT_EQ (taken[3], 0.3f);
    EXPECT_TRUE (project.takeWaveformSamples().isEmpty());
}

TEST (Settings, captureFlagCallsReturnAndClear)
{
    Project project;
    EXPECT_FALSE (project.setCalibrationRequested (true));
    EXPECT_TRUE (project.setCalibrationRequested (true));
    project.startCalibrating();
    EXPECT_FALSE (project.calibrationRequested);
    EXPECT_TRUE (project.calibrating);

    project.nextTrackRequested = true;
    EXPECT_TRUE (project.takeNextTrackRequested());
    EXPECT_FALSE (project.takeNextTrackRequested());
}

TEST (Settings, lameArgumentsFollowTheMode)
{
    Project project;
    project.setLameVbr (true);
    project.setLameQuality (12);
    EXPECT_EQ (project.lameArguments(), " -V2 ");
    project.setLameVbr (false);
    project.setLameQuality (192);
    EXPECT_EQ (project.lameArguments(), " -b192 ");
}

TEST (Settings, onlyTheItunesFormatsUseItunes)
{
    Project project;
    for (int format = 0; format <= 9; ++format)
    {
        project.outputFormat = format;
        EXPECT_EQ (project.usesItunes(), format == 2 || format == 3 || format == 7) << format;
    }
}

TEST (Settings, theChosenDeviceIsSavedRestoredAndReset)
{
    {
        Project project;
        ASSERT_NE (FakeAudioDeviceType::install (project, 2, 44100.0, 512, { 48000.0 }), nullptr);
        auto setup = project.getAudioDeviceSetup();
        setup.sampleRate = 48000.0;
        ASSERT_TRUE (project.setAudioDeviceSetup (setup, true).isEmpty());
        project.saveDeviceSettings();
        ASSERT_TRUE (project.getSettings().containsKey ("devicesettings"));
        const auto state = project.getSettings().getXmlValue ("devicesettings");
        ASSERT_NE (state, nullptr);
        EXPECT_EQ (state->getTagName(), "DEVICESETUP");
        EXPECT_EQ (state->getStringAttribute ("deviceType"), "Test");
        EXPECT_EQ (state->getDoubleAttribute ("audioDeviceRate"), 48000.0);
    }

    EXPECT_TRUE (settingsFile().loadFileAsString().contains ("name=\"devicesettings\""));

    // The next start opens the saved device at the saved rate once its driver is there.
    Project again;
    ASSERT_TRUE (again.getSettings().containsKey ("devicesettings"));
    again.addAudioDeviceType (std::make_unique<FakeAudioDeviceType> (2, 44100.0, 512, juce::Array<double>{ 48000.0 }));
    again.openAudioDevice();
    ASSERT_NE (again.getCurrentAudioDevice(), nullptr);
    EXPECT_EQ (again.getCurrentAudioDevice()->getTypeName(), "Test");
    EXPECT_EQ (again.getCurrentAudioDevice()->getCurrentSampleRate(), 48000.0);

    again.resetDeviceSettings();
    EXPECT_FALSE (again.getSettings().containsKey ("devicesettings"));
    again.resetDeviceSettings(); // nothing to remove: no harm
    EXPECT_FALSE (again.getSettings().containsKey ("devicesettings"));
}

TEST (Settings, translationsComeFromTheLanguageFileBesideTheProgram)
{
    const auto code = "t" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
    const auto file = Project::programFolder().getChildFile ("lang-" + code + ".txt");
    ASSERT_TRUE (file.replaceWithText ("language: Test\n\n\"Next\" = \"Suivant\"\n\"Help\" = \"Aide\"\n"));
    writeSettings ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n"
                   "  <VALUE name=\"lang\" val=\"" +
                   code + "\"/>\n</PROPERTIES>\n");
    {
        Project project;
        EXPECT_EQ (project.translate ("Next"), "Suivant");
        EXPECT_EQ (project.translate ("Help"), "Aide");
        EXPECT_EQ (project.translate ("Back"), "Back");
    }
    file.deleteFile();
}
