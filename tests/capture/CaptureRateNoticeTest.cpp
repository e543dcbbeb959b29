// The box that tells the user, before the first capture of a session, that the device does not
// run at 44100 Hz and what that means for the files.
#include "CaptureRunFixture.h"
#include "capture/Page1.h"
#include "support/AlertAnswerer.h"
#include "support/Snapshots.h"
#include "support/WizardFixture.h"

using namespace capture_test;

namespace
{
const juce::String rateBoxText =
    "The audio device runs at 48000 Hz, not at 44100 Hz, and the tracks will be captured at 48000 Hz. "
    "FLAC, Ogg Vorbis and AIFF files are always marked 44100 Hz: in these formats the album would play "
    "too slow and too low.\n\nTo avoid it, choose 44100 Hz in the audio device options of the setup page "
    "before capturing, or choose WAV or MP3 on the format page, which keep the rate of the capture.";
}

/** The wizard on its capture page, with a device of the test's own at the rate the test names. */
class CaptureRateNoticeTest : public WizardTest
{
protected:
    void openCapturePage (double rate)
    {
        blockSize = (int) rate / 10;
        folder = testHome().getChildFile ("capture");
        folder.createDirectory();

        device = FakeAudioDeviceType::install (project(), 2, rate, blockSize);
        ASSERT_NE (device, nullptr);
        project().setRootDirectory (folder.getFullPathName());
        AudioCallback::setClock (&advancingClock);

        next();
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 3);
        page = wizard->page1.get();
        outputs[0].assign ((size_t) blockSize, 0.0f);
        outputs[1].assign ((size_t) blockSize, 0.0f);
    }

    void TearDown() override
    {
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        AudioCallback::setClock (nullptr);
        WizardTest::TearDown();
    }

    /** Starts a capture, gives it a second of tone and stops it. */
    void captureOnce()
    {
        click (page->captureButton);
        ASSERT_TRUE (project().captureStarted);
        for (int i = 0; i < 10; ++i)
        {
            auto block = toneBlock (blockSize, blockIndex++, 0.5f, device->getCurrentSampleRate());
            device->deliver ({ block.left.data(), block.right.data() }, { outputs[0].data(), outputs[1].data() },
                             blockSize);
        }
        pumpMessages();
        click (page->captureButton);
        ASSERT_TRUE (pumpUntil ([this] { return ! project().captureRunning; }));
    }

    juce::File folder;
    FakeAudioDevice* device = nullptr;
    Page1* page = nullptr;
    std::vector<float> outputs[2];
    int blockSize = 4410;
    int blockIndex = 0;
};

TEST_F (CaptureRateNoticeTest, aDeviceAt48000HzIsToldOfOnceBeforeTheFirstCapture)
{
    openCapturePage (48000.0);

    // What the capture had done when the box came up.
    bool startedWhenShown = true;
    dialogs.onAlert = [this, &startedWhenShown] (const FakeDialogs::Alert&)
    { startedWhenShown = project().captureStarted; };

    captureOnce();
    dialogs.onAlert = nullptr;

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto box = dialogs.alerts()[0];
    EXPECT_EQ (box.icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (box.title, "Sample rate");
    EXPECT_EQ (box.message, rateBoxText);
    EXPECT_EQ (box.buttons, juce::StringArray ("ok"));
    EXPECT_FALSE (startedWhenShown);

    // The capture itself runs at the device's rate, as before.
    ASSERT_EQ (project().trackCount(), 1);
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (juce::File (project().trackPath (0))));
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->sampleRate, 48000.0);

    // A second capture in the same session says nothing more.
    captureOnce();
    EXPECT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (project().trackCount(), 2);
}

TEST_F (CaptureRateNoticeTest, aDeviceAt44100HzCapturesWithoutABox)
{
    openCapturePage (44100.0);
    captureOnce();
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (project().trackCount(), 1);
}

TEST_F (CaptureRateNoticeTest, aTestRunAt48000HzSaysNothing)
{
    openCapturePage (48000.0);
    click (page->testButton);
    EXPECT_TRUE (page->isTesting());
    click (page->testButton);
    pumpMessages();
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (CaptureRateNoticeTest, theRealBoxShowsTheTextWithTheInformationIcon)
{
    openCapturePage (48000.0);

    // The program's own window for the box, looked at and closed as the user would; its words are
    // checked through the scripted dialogs above.
    Dialogs::install (nullptr);
    struct BackToTheScript
    {
        ~BackToTheScript() { Dialogs::install (&script); }
        FakeDialogs& script;
    } backToTheScript{ dialogs };

    juce::String shownTitle;
    bool information = false;
    juce::File picture;
    {
        AlertAnswerer answerer ("ok",
                                [&] (juce::AlertWindow& window)
                                {
                                    shownTitle = window.getName();
                                    information = window.getAlertType() == juce::MessageBoxIconType::InfoIcon;
                                    picture = saveSnapshot (window, "capture-rate-box");
                                });
        captureOnce();
    }

    EXPECT_EQ (shownTitle, "Sample rate");
    EXPECT_TRUE (information);
    EXPECT_TRUE (picture.existsAsFile());
    EXPECT_EQ (project().trackCount(), 1);
}
