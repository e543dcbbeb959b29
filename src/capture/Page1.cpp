#include "capture/Page1.h"

#include "capture/Audio.h"
#include "project/Dialogs.h"
#include "project/Project.h"

int Page1::trackDisplayNumber = 0;

namespace
{
struct ScaleMark
{
    const char* name;
    const char* text;
    int x, y, width, height;
    int shownWith; // 0 always, 1 with a preamp, 2 without one
};

const ScaleMark scaleMarks[] = {
    { "L", NEEDS_TRANS ("L"), 20, 63, 20, 20, 0 },          { "R", NEEDS_TRANS ("R"), 60, 63, 20, 20, 0 },
    { "dB", NEEDS_TRANS ("dB"), 37, 57, 20, 20, 0 },        { "maxDB", NEEDS_TRANS ("0"), 40, 72, 20, 20, 0 },
    { "minDB", NEEDS_TRANS ("-70"), 33, 263, 30, 20, 0 },   { "-10", NEEDS_TRANS ("-10"), 33, 113, 30, 20, 1 },
    { "-30", NEEDS_TRANS ("-30"), 33, 161, 30, 20, 1 },     { "-50", NEEDS_TRANS ("-50"), 33, 209, 30, 20, 1 },
    { "-30noPA", NEEDS_TRANS ("-30"), 33, 110, 30, 20, 2 }, { "-40noPA", NEEDS_TRANS ("-40"), 33, 148, 30, 20, 2 },
    { "-50noPA", NEEDS_TRANS ("-50"), 33, 187, 30, 20, 2 }, { "-60noPA", NEEDS_TRANS ("-60"), 33, 225, 30, 20, 2 },
};
} // namespace

Page1::Page1 (Project* projectToUse)
    : Page ("Page1", projectToUse),
      captureButton (projectToUse->translate ("Capture")),
      testButton (projectToUse->translate ("Test")),
      calibrateButton (projectToUse->translate ("Calibrate")),
      dropoutIndicator (projectToUse),
      rateNotice (*projectToUse)
{
    audio = Audio::getInstance (project, this);

    const auto tr = [this] (const char* text) { return project->translate (text); };

    titleLabel.setText (tr ("Highly recommended test to avoid saturation problem:"), juce::dontSendNotification);
    titleLabel.setFont (titleLabel.getFont().boldened());
    testLabel.setText (tr ("Turn on the audio input you want to record. Click on \"Test\" then put the dBMeter under "
                           "0dB using your audio input level controler"),
                       juce::dontSendNotification);
    waveformGroup.setText (tr ("Sound preview"));

    captureButton.setTooltip (tr ("Start the rip"));
    nextTrackButton.setButtonText (tr (">>"));
    nextTrackButton.setTooltip (tr ("Next Track"));
    paramButton.setButtonText (tr ("Param"));
    paramButton.setTooltip (tr ("Set capture parameters"));
    rumbleButton.setButtonText (tr ("Rumble"));
    rumbleButton.setTooltip (tr ("Toggle rumble filter"));
    echoButton.setButtonText (tr ("Echo"));
    echoButton.setTooltip (
        tr ("Toggle echo of record (only use this with a silent vinyl turntable or any other silent sources!)"));
    trackCounter.setText (tr ("Waiting..."), juce::dontSendNotification);
    testButton.setTooltip (tr ("Start test"));
    calibrateButton.setTooltip (tr ("Calibrate silence treshold"));

    for (auto* component : std::initializer_list<juce::Component*>{
             &titleLabel, &testLabel, &leftMeter, &rightMeter, &tooHighMeter, &waveformGroup, &waveform, &captureButton,
             &nextTrackButton, &paramButton, &rumbleButton, &echoButton, &testButton, &calibrateButton })
        addAndMakeVisible (component);
    addChildComponent (trackCounter);
    addChildComponent (dropoutIndicator);

    for (const auto& mark : scaleMarks)
    {
        auto* label = scaleLabels.add (std::make_unique<juce::Label> (mark.name, tr (mark.text)));
        // The marks are narrow: no border, and the text may squeeze rather than turn into dots.
        label->setBorderSize ({});
        label->setMinimumHorizontalScale (0.5f);
        if (mark.shownWith == 0)
            addAndMakeVisible (label);
        else
            addChildComponent (label);
    }

    rumbleButton.setToggleState (true, juce::dontSendNotification);
    project->rumbleOn = true;
    echoButton.setToggleState (false, juce::dontSendNotification);
    project->echoOn = false;

    for (auto* button :
         std::initializer_list<juce::Button*>{ &captureButton, &nextTrackButton, &paramButton, &rumbleButton,
                                               &echoButton, &testButton, &calibrateButton })
        button->addListener (this);

    vuMeterUpdate = std::make_unique<VUMeterUpdate> (project, &leftMeter, &rightMeter, &waveform, &tooHighMeter);
}

Page1::~Page1()
{
    vuMeterUpdate.reset();
    if (auto* engine = Audio::getInstance())
        engine->removeActionListener (this);
}

juce::Label* Page1::scaleLabel (const juce::String& name) const
{
    for (auto* label : scaleLabels)
        if (label->getName() == name)
            return label;
    return nullptr;
}

void Page1::paint (juce::Graphics& g)
{
    Page::paint (g);

    // The value marks follow the preamp answer at every paint, so a change on the setup page shows.
    for (int i = 0; i < scaleLabels.size(); ++i)
        if (scaleMarks[i].shownWith != 0)
            scaleLabels[i]->setVisible ((scaleMarks[i].shownWith == 1) == project->preamp);
}

void Page1::resized()
{
    const int h = getHeight();

    titleLabel.setBounds (100, 80, 320, 50);
    testLabel.setBounds (100, 120, 300, 60);
    leftMeter.setBounds (20, 80, 15, 195);
    rightMeter.setBounds (60, 80, 15, 195);
    tooHighMeter.setBounds (40, 75, 16, 16);
    waveformGroup.setBounds (100, 260, 320, 70);
    waveform.setBounds (110, 280, 300, 40);
    captureButton.setBounds (140, 180, 80, 50);
    nextTrackButton.setBounds (240, 185, 60, 35);
    paramButton.setBounds (310, 185, 60, 35);
    rumbleButton.setBounds (250, 225, 60, 35);
    echoButton.setBounds (340, 225, 60, 35);
    trackCounter.setBounds (115, 225, 120, 35);
    testButton.setBounds (26, h - 35, 40, 25);
    calibrateButton.setBounds (16, h - 65, 60, 25);

    rumbleButton.changeWidthToFitText();
    echoButton.changeWidthToFitText();

    dropoutIndicator.setBounds (DropoutIndicator::pageBounds());

    for (int i = 0; i < scaleLabels.size(); ++i)
    {
        const auto& mark = scaleMarks[i];
        scaleLabels[i]->setBounds (mark.x, mark.y, mark.width, mark.height);
    }
}

//==============================================================================
void Page1::buttonClicked (juce::Button* button)
{
    audio = Audio::getInstance (project, nullptr);

    if (button == &captureButton)
        captureClicked();
    else if (button == &paramButton)
        paramClicked();
    else if (button == &testButton)
        testClicked();
    else if (button == &calibrateButton)
        calibrateClicked();
    else if (button == &rumbleButton)
        project->rumbleOn = rumbleButton.getToggleState();
    else if (button == &echoButton)
        echoClicked();
    else if (button == &nextTrackButton && writeToDisk && capturing)
        project->nextTrackRequested = true;
}

void Page1::captureClicked()
{
    if (testing || calibrating)
        return;

    if (project->captureRunning)
    {
        audio->stop();
        waveform.clear();
        capturing = false;
        captureButton.setTooltip (project->translate ("Start the rip"));
        return;
    }

    rateNotice.beforeCapture();
    if (! audio->start (true))
        return;

    project->captureStarted = true;
    showCounter (project->translate ("Waiting..."));
    capturing = true;
    writeToDisk = true;
    captureButton.setTooltip (project->translate ("Stop the rip"));
}

void Page1::paramClicked()
{
    if (capturing)
        return;

    AlertRequest request;
    request.icon = juce::MessageBoxIconType::QuestionIcon;
    request.title = project->translate ("Capture Parameters");
    request.fieldNames = { "threshold", "silence", "gap" };
    request.fieldLabels = { project->translate ("threshold to detect silence (in dB):"),
                            project->translate ("silence length to stop capturing (in second):"),
                            project->translate ("minimum silence between two tracks (in seconds):") };
    request.fieldValues = { juce::String (project->threshold - 70), juce::String (project->silenceLength),
                            juce::String (project->minSilence) };
    request.buttons.push_back ({ project->translate ("ok"), 1, juce::KeyPress (juce::KeyPress::returnKey) });

    if (Dialogs::get().runAlert (request) != 1)
        return;

    // Taken as typed: no number reads as 0, and nothing is bounded.
    project->setThreshold (request.fieldValues[0].getIntValue() + 70);
    project->setSilenceLength (request.fieldValues[1].getIntValue());
    project->setMinSilence (request.fieldValues[2].getIntValue());
}

void Page1::testClicked()
{
    if (testing && ! capturing)
    {
        vuMeterUpdate->stopTimer();
        audio->stop();
    }
    else if (! testing && ! capturing)
    {
        if (! audio->start (false))
            return;
        vuMeterUpdate->startWaiting();
        testing = true;
    }

    waveform.clear();
}

void Page1::calibrateClicked()
{
    echoButton.setToggleState (false, juce::sendNotification);
    project->echoOn = false;

    if (! testing && ! calibrating && ! capturing)
    {
        if (! showOkCancel (juce::MessageBoxIconType::InfoIcon, project->translate ("Silence threshold calibration"),
                            project->translate ("Silence threshold calibration : put the needle on the vinyl "
                                                "without playing it (lasts 5 seconds)")))
        {
            waveform.clear();
            return;
        }

        project->setThreshold (-65);
        project->setCalibrationRequested (true);
        if (! audio->start (false))
            return;
        vuMeterUpdate->startWaiting();
        calibrating = true;
        waveform.clear();
    }
    else if (calibrating)
    {
        vuMeterUpdate->stopTimer();
        audio->stop();
        project->calibrationRequested = false;
        project->calibrating = false;
        waveform.clear();
    }
    else
    {
        waveform.clear();
    }
}

void Page1::echoClicked()
{
    if (project->calibrating)
    {
        echoButton.setToggleState (false, juce::sendNotification);
        project->echoOn = false;
    }
    else if (! project->echoOn)
    {
        if (showOkCancel (juce::MessageBoxIconType::InfoIcon, project->translate ("Echo"),
                          project->translate ("Toggle echoing of current audio source (will produce horrible output "
                                              "and capture if not needed) ")))
            project->echoOn = true;
        else
            echoButton.setToggleState (false, juce::dontSendNotification);
    }
    else
    {
        project->echoOn = false;
    }
}

//==============================================================================
void Page1::showCounter (const juce::String& text)
{
    trackCounter.setText (text, juce::dontSendNotification);
    trackCounter.setVisible (true);
    trackCounter.repaint();
}

juce::String Page1::timeText (juce::int64 samples)
{
    const auto seconds = samples / 44100;
    const auto hundredths = (int) ((double) (samples % 44100) / 44100.0 * 100.0);
    const auto minutes = seconds / 60;
    const auto secs = (int) (seconds % 60);

    juce::String text;
    if (minutes > 0)
        text << juce::String (minutes) << ":" << (secs <= 9 ? "0" : "");
    text << juce::String (secs) << "." << (hundredths <= 9 ? "0" : "") << juce::String (hundredths);
    return text;
}

void Page1::actionListenerCallback (const juce::String& message)
{
    audio = Audio::getInstance (project, nullptr);

    if (message == Audio::eventEnd)
    {
        writeToDisk = audio->isWritingToDisk();

        if (project->captureRunning)
        {
            captureButton.setActive (false);
            project->captureRunning = false;
            repaint();
            capturing = false;
        }
        else if (testing)
        {
            testButton.setActive (false);
            repaint();
            testing = false;
        }
        else if (calibrating)
        {
            calibrateButton.setActive (false);
            repaint();
            calibrating = false;
        }

        vuMeterUpdate->stopAndReset();
        trackCounter.setVisible (false);
        dropoutIndicator.runEnded();
    }
    else if (message == Audio::eventStarted)
    {
        trackDisplayNumber = project->trackCounter;

        if (capturing)
        {
            captureButton.setActive (true);
            repaint();
            project->captureRunning = true;
        }
        else if (testing)
        {
            testButton.setActive (true);
            repaint();
            showCounter (project->translate ("Testing.."));
        }
        else if (calibrating)
        {
            calibrateButton.setActive (true);
            repaint();
            showCounter (project->translate ("Calibrating..."));
        }

        vuMeterUpdate->startRunning();
        dropoutIndicator.runStarted();
    }
    else if (message == Audio::eventTrack)
    {
        if (capturing)
        {
            ++trackDisplayNumber;
            showCounter (project->translate ("Track ") + juce::String (trackDisplayNumber));
        }
    }
    else if (message == Audio::eventStaled)
    {
        showCounter (project->translate ("Waiting..."));
    }
    else if (message == Audio::eventError)
    {
        audio->stop();
        trackCounter.setVisible (false);
        trackCounter.repaint();
        capturing = false;
        captureButton.setTooltip (project->translate ("Start the rip"));
        showMessage (juce::MessageBoxIconType::WarningIcon, project->translate ("Driver error !"),
                     project->translate ("No Stream detected.\nTry setting the default capture device in Windows and "
                                         "then restart the Groovesmith\n(the capture device has been reset to "
                                         "windows default)"),
                     project->translate ("ok"));
    }
    else if (message.startsWith ("TRACK TIME"))
    {
        const auto samples = message.fromLastOccurrenceOf (" ", false, false).getLargeIntValue();
        showCounter (project->translate ("Track ") + juce::String (trackDisplayNumber) + project->translate (" (") +
                     timeText (samples) + project->translate (")"));
    }
}
