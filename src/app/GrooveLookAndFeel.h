#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** The program's look: JUCE's light scheme on the window's light grey, with dark text. */
class GrooveLookAndFeel : public juce::LookAndFeel_V4
{
public:
    GrooveLookAndFeel();
};
