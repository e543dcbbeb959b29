#pragma once

#include "app/Page.h"

#include <array>

/**
    The format page: the output format, the LAME options when MP3 through LAME is chosen, and
    the two options that hold for every format. Every control writes through to the project the
    moment it changes; the page has no apply step.
*/
class Page3 : public Page, public juce::Button::Listener, public juce::ComboBox::Listener
{
public:
    explicit Page3 (Project* project);
    ~Page3() override;

    void resized() override;

    void comboBoxChanged (juce::ComboBox* combo) override;
    void buttonClicked (juce::Button* button) override;

    /** True when a path names a LAME library by its ending (".so" or ".so.0" here, ".dll" on Windows). */
    static bool looksLikeLameLibrary (const juce::String& path);

    /** The text shown under the format combo for a format number; that of WAV outside 1 to 8. */
    static const char* descriptionOf (int format);

    juce::Label questionLabel{ "convert" };
    juce::ComboBox formatCombo{ "Format" };
    juce::Label descriptionLabel{ "format_desc" };
    juce::ToggleButton keepToggle;
    juce::ToggleButton numbersToggle;
    juce::GroupComponent parametersGroup{ "encode_params" };
    juce::ToggleButton vbrToggle;
    juce::Label qualityLabel{ "quality" };
    juce::ComboBox qualityCombo{ "quality" };

    // What the finished album gets beyond its files and tags.
    juce::ToggleButton coverToggle;
    juce::ToggleButton replayGainToggle;
    juce::ToggleButton playlistToggle;

    /** A LAME library is known to exist; it only ever goes from false to true. */
    bool lameLocated = false;

private:
    /** Every toggle of the page, which the page listens to. */
    std::array<juce::ToggleButton*, 6> allToggles();

    void formatChanged();
    void vbrClicked();
    void fillQualityList (bool vbr);
    void showLameParameters (bool shouldShow);

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (Page3)
};
