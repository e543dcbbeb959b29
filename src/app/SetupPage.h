#pragma once

#include "app/Page.h"

#include <juce_audio_utils/juce_audio_utils.h>

/** The second page: the capture folder, the audio device and the phono preamp question. */
class SetupPage : public Page, public juce::Button::Listener
{
public:
    explicit SetupPage (Project* project);
    ~SetupPage() override;

    void resized() override;
    void buttonClicked (juce::Button* button) override;

    juce::Label folderLabel{ "folderLabel" };
    juce::Label preampLabel{ "preAmpLabel" };
    juce::TextEditor folderEditor;
    juce::TextButton deviceButton;
    juce::TextButton browseButton;
    juce::ToggleButton preampYes;
    juce::ToggleButton preampNo;
    juce::GroupComponent group{ "group" };

    /** The content of the device dialog; shown only inside it. */
    std::unique_ptr<juce::AudioDeviceSelectorComponent> deviceSelector;
};
