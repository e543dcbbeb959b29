#include "editing/Page2.h"

Page2::Page2 (Project* projectToUse, juce::ActionListener* listener)
    : Page ("Page2", projectToUse)
{
    addActionListener (listener);
}

void Page2::resized() {}

void Page2::updateTrackList() {}

void Page2::updateButtonVisibility() {}
