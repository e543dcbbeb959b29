// The "End Capture" box against the user's actions, with the real alert windows: the wizard on
// its capture page, its device one of the test's own whose blocks come from a thread of the
// device's own, as a driver's do. The capture reaches its end of stream and the audio thread
// asks the box; meanwhile the message thread stops, captures, cancels, starts a preview or
// quits, before the box is shown, while it shows, or at any moment around it. Whatever the
// order, both threads go on, the run ends, its last file is closed and listed.
#include "CaptureRunFixture.h"
#include "capture/AudioReader.h"
#include "capture/Page1.h"
#include "support/AlertAnswerer.h"
#include "support/WizardFixture.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace capture_test;

namespace
{
constexpr int orderBlockSize = 4410; // ten blocks a second
constexpr int loudBlocks = 5;
constexpr int waitSeconds = 20;

enum class Order
{
    stop,       // the engine's stop, as the wizard and the driver error call it
    capture,    // the Capture button, which stops a running capture
    newCapture, // a new capture started on the engine
    cancel,     // the wizard's Cancel
    preview,    // a preview player made, as the track page makes one
    quit        // the wizard goes, as at the end of the program
};

enum class Moment
{
    beforeTheBoxOpens, // the audio thread waits and the box's message has not been delivered
    whileTheBoxShows,  // the box is modal on the screen
    anyMoment          // after a random delay, racing the box and its answer
};

const char* nameOf (Order order)
{
    switch (order)
    {
        case Order::stop:
            return "stop";
        case Order::capture:
            return "Capture";
        case Order::newCapture:
            return "new capture";
        case Order::cancel:
            return "Cancel";
        case Order::preview:
            return "preview";
        case Order::quit:
            return "quit";
    }
    return "";
}

/** Ends the whole test binary with a message when an attempt takes far too long: a deadlock
    would otherwise hold the message thread for good. */
class HangGuard
{
public:
    explicit HangGuard (std::string whatToUse)
        : what (std::move (whatToUse)),
          thread (
              [this]
              {
                  if (! disarmed.wait (waitSeconds * 2000))
                  {
                      std::fprintf (stderr, "HANG: %s did not end\n", what.c_str());
                      std::fflush (stderr);
                      std::_Exit (3);
                  }
              })
    {
    }

    ~HangGuard()
    {
        disarmed.signal();
        thread.join();
    }

private:
    std::string what;
    juce::WaitableEvent disarmed;
    std::thread thread;
};

/** True when an alert window is modal now. */
bool anAlertIsShowing()
{
    return dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent()) != nullptr;
}

} // namespace

class EndCaptureOrder : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // The real windows: no scripted dialogs are installed.
        Dialogs::install (nullptr);
        root = freshFolder ("orders");
        AudioCallback::setClock (&advancingClock);
        makeWizard();
    }

    void TearDown() override
    {
        answerer.stop();
        reader.reset();
        wizard.reset();
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        AudioCallback::setClock (nullptr);
    }

    /** The wizard on its capture page, its device's thread running. */
    void makeWizard()
    {
        wizard = std::make_unique<MainComponent> (&window);
        wizard->quitProgram = [this] { ++quits; };
        wizard->setSize (435, 380);

        auto& project = wizard->getProject();
        device = FakeAudioDeviceType::install (project, 2, 44100.0, orderBlockSize);
        ASSERT_NE (device, nullptr);
        project.setRootDirectory (root.getFullPathName());
        project.setPreamp (true);
        project.setMinSilence (1);    // ten blocks
        project.setSilenceLength (2); // twenty blocks
        project.setThreshold (10);

        for (int i = 0; i < 3; ++i)
        {
            wizard->nextButton.triggerClick();
            runMessageLoopFor (5);
        }
        ASSERT_EQ (MainComponent::currentPage, 3);
        page = wizard->page1.get();
        Audio::getInstance (&project, &log);

        // The audio thread: loud blocks when the test asks for them, silence otherwise.
        device->startDriverLoop (
            [this] (int index, juce::AudioBuffer<float>& inputs)
            {
                if (loudLeft.load() <= 0)
                    return;
                --loudLeft;
                const auto block = toneBlock (orderBlockSize, index);
                inputs.copyFrom (0, 0, block.left.data(), orderBlockSize);
                inputs.copyFrom (1, 0, block.right.data(), orderBlockSize);
            },
            1);
    }

    Project& project() { return wizard->getProject(); }

    AudioCallback* callback() const
    {
        auto* audio = Audio::getInstance();
        return audio != nullptr ? audio->getCallback() : nullptr;
    }

    /** The message thread does the user's action now. */
    void act (Order order)
    {
        acted = true;
        actedAt = juce::Time::getMillisecondCounter();
        switch (order)
        {
            case Order::stop:
                Audio::getInstance()->stop();
                break;

            case Order::capture:
                // The same button starts a capture when none runs: pressed only while one does.
                if (project().captureRunning)
                    page->buttonClicked (&page->captureButton);
                break;

            case Order::newCapture:
                // The new capture hears only silence, however early it comes (a slow machine may
                // not have played all the sound yet): the file that counts is the first run's.
                loudLeft = 0;
                ASSERT_TRUE (Audio::getInstance()->start (true));
                startedAgain = true;
                break;

            case Order::cancel:
                wizard->buttonClicked (&wizard->cancelButton);
                break;

            case Order::preview:
                reader = std::make_unique<AudioReader> (&project());
                break;

            case Order::quit:
                quitting = true;
                wizard.reset();
                break;
        }
    }

    /** One capture up to its end of stream, with `order` at `moment`; then checks the outcome. */
    void attempt (Order order, Moment moment, int round, int actionDelayMs = 0, int answerDelayMs = 0)
    {
        const auto what = juce::String (nameOf (order)) + ", round " + juce::String (round);
        const HangGuard guard (what.toStdString());
        SCOPED_TRACE (what);

        // Each attempt captures into a folder of its own.
        const auto folder = root.getChildFile ("attempt" + juce::String (++attempts));
        ASSERT_TRUE (folder.createDirectory());
        project().captureFolder = folder.getFullPathName();
        const int tracksBefore = project().trackCount();
        const auto expectedFile = folder.getChildFile ("Track" + juce::String (project().trackCounter + 1) + ".wav");

        log.events.clear();
        acted = quitting = startedAgain = false;
        answerer.delayAnswer ("End Capture", answerDelayMs);
        const auto seenBefore = answerer.titlesSeen.size();

        page->captureButton.triggerClick();
        runMessageLoopFor (5);
        ASSERT_TRUE (page->isCapturing());
        loudLeft = loudBlocks;

        std::unique_ptr<WhenShowing> whenShowing;
        switch (moment)
        {
            case Moment::beforeTheBoxOpens:
            {
                // The message thread is busy (it does not deliver messages) until the audio
                // thread waits for the box; then the action comes, before the box can open.
                const auto end = juce::Time::getMillisecondCounter() + waitSeconds * 1000;
                while ((callback() == nullptr || ! callback()->isWaitingForAnswer()) &&
                       juce::Time::getMillisecondCounter() < end)
                    juce::Thread::sleep (1);
                ASSERT_TRUE (callback()->isWaitingForAnswer());
                act (order);
                break;
            }
            case Moment::whileTheBoxShows:
                whenShowing = std::make_unique<WhenShowing> ("End Capture", [this, order] { act (order); });
                break;
            case Moment::anyMoment:
                juce::Timer::callAfterDelay (actionDelayMs,
                                             [this, order, alive = std::weak_ptr<int> (aliveToken)]
                                             {
                                                 if (! alive.expired())
                                                     act (order);
                                             });
                break;
        }

        // The run ends, the action is done, and no box is left on the screen.
        const bool ended = pumpUntil (
            [&]
            {
                if (! acted || anAlertIsShowing())
                    return false;
                if (quitting)
                    return true;
                if (startedAgain && Audio::getInstance()->isStarted())
                    Audio::getInstance()->stop();

                // A preview made before the end of stream leaves the capture without blocks (a
                // new player takes the device): the wizard stops such a capture when the user
                // moves on.
                if (order == Order::preview && moment == Moment::anyMoment && Audio::getInstance()->isStarted() &&
                    juce::Time::getMillisecondCounter() - actedAt > 1500)
                    Audio::getInstance()->stop();
                return log.events.contains ("END") && ! Audio::getInstance()->isStarted() && ! project().captureRunning;
            },
            waitSeconds * 1000);
        ASSERT_TRUE (ended) << "events: " << log.events.joinIntoString (" / ").toStdString();

        if (moment == Moment::beforeTheBoxOpens)
        {
            // The user's action won: the box never opened.
            runMessageLoopFor (20);
            for (int i = seenBefore; i < answerer.titlesSeen.size(); ++i)
                EXPECT_NE (answerer.titlesSeen[i], "End Capture");
        }

        // The last file, when sound reached one, is closed: a whole WAV file whose header covers
        // what it holds.
        if (expectedFile.existsAsFile())
        {
            const auto contents = readWav (expectedFile);
            ASSERT_TRUE (contents.valid);
            EXPECT_GT (contents.left.size(), 0u);
            EXPECT_EQ (expectedFile.getSize(), 104 + 4 * (juce::int64) contents.left.size());
        }

        if (quitting)
        {
            // The program's end: the next attempt runs in a new wizard, as after a new start.
            if (moment == Moment::beforeTheBoxOpens)
            {
                EXPECT_TRUE (expectedFile.existsAsFile());
            }
            makeWizard();
            return;
        }

        // Listed once, and only when it exists.
        const auto paths = trackPaths (project());
        EXPECT_EQ (paths.size(), tracksBefore + (expectedFile.existsAsFile() ? 1 : 0)) << paths.joinIntoString (", ");
        EXPECT_EQ (paths.indexOf (expectedFile.getFullPathName()) >= 0, expectedFile.existsAsFile());
        EXPECT_FALSE (project().captureRunning);
        EXPECT_FALSE (page->isCapturing());

        // The audio thread goes on: the device still delivers blocks.
        const int before = FakeAudioDevice::driverLoopBlocks().load();
        EXPECT_TRUE (pumpUntil ([before] { return FakeAudioDevice::driverLoopBlocks().load() > before + 3; }));

        reader.reset();
    }

    /** Every moment for one order, `rounds` times at random moments. */
    void everyMoment (Order order, int rounds)
    {
        attempt (order, Moment::beforeTheBoxOpens, 0);
        attempt (order, Moment::beforeTheBoxOpens, 1);
        if (order != Order::quit)
        {
            // The box is answered only late, so that the action comes while it shows.
            attempt (order, Moment::whileTheBoxShows, 2, 0, 2000);
            attempt (order, Moment::whileTheBoxShows, 3, 0, 2000);
        }

        juce::Random random (1234 + (int) order);
        for (int round = 0; round < rounds; ++round)
            attempt (order, Moment::anyMoment, 10 + round, random.nextInt (130), random.nextInt (50));
    }

    juce::File root;
    juce::Component window;
    std::unique_ptr<MainComponent> wizard;
    FakeAudioDevice* device = nullptr;
    Page1* page = nullptr;
    EventLog log;
    std::unique_ptr<AudioReader> reader;
    AlertAnswerer answerer{ std::map<juce::String, juce::String>{
        { "End Capture", "ok" }, { "Delete Track(s)", "No" }, { "Quit Groove Smith", "OK" } } };
    std::shared_ptr<int> aliveToken = std::make_shared<int> (0);
    std::atomic<int> loudLeft{ 0 };
    juce::uint32 actedAt = 0;
    int attempts = 0;
    int quits = 0;
    bool acted = false, quitting = false, startedAgain = false;
};

TEST_F (EndCaptureOrder, aStopInAnyOrderWithTheBoxEndsTheRunAndListsTheFile)
{
    everyMoment (Order::stop, 8);
}

TEST_F (EndCaptureOrder, theCaptureButtonInAnyOrderWithTheBoxEndsTheRunAndListsTheFile)
{
    everyMoment (Order::capture, 8);
}

TEST_F (EndCaptureOrder, aNewCaptureInAnyOrderWithTheBoxFirstEndsTheRunThatAsked)
{
    everyMoment (Order::newCapture, 8);
}

TEST_F (EndCaptureOrder, cancelInAnyOrderWithTheBoxStopsTheCaptureThenAsksAboutTheTracks)
{
    everyMoment (Order::cancel, 8);
    EXPECT_EQ (quits, 12);
}

TEST_F (EndCaptureOrder, aPreviewStartedInAnyOrderWithTheBoxLetsTheRunEnd)
{
    everyMoment (Order::preview, 8);
}

TEST_F (EndCaptureOrder, theProgramsEndInAnyOrderWithTheBoxClosesTheLastFile)
{
    everyMoment (Order::quit, 8);
}
