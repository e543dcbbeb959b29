#pragma once

#include "app/Page.h"

/** The first page: rip records, or encode existing files. */
class ProjectPage : public Page, public juce::Button::Listener
{
public:
    explicit ProjectPage (Project* project);
    ~ProjectPage() override;

    void resized() override;
    void buttonClicked (juce::Button* button) override;

    juce::Label homeLabel{ "homeLabel" };
    juce::Label typeLabel{ "projectType" };
    juce::ToggleButton ripButton;
    juce::ToggleButton encodeButton;
};
