#include "encoding/FinalPage.h"

FinalPage::FinalPage (Project* projectToUse, juce::ActionListener* listener)
    : Page ("FinalPage", projectToUse)
{
    addActionListener (listener);
}

void FinalPage::resized() {}

void FinalPage::refresh() {}
