#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** The program's one window, with the wizard as its content. */
class MainDialog : public juce::DocumentWindow
{
public:
    MainDialog();

    /** A close request from the platform ends the program without a question. */
    void closeButtonPressed() override;
};
