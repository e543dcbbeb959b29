#include "app/MainDialog.h"

#include "BinaryData.h"
#include "app/MainComponent.h"

MainDialog::MainDialog()
    : juce::DocumentWindow ("Tonewell Groove Smith", juce::Colours::lightgrey, 0, true)
{
    setOpaque (true);
    setVisible (true);
    setContentOwned (new MainComponent (this), false);
    setUsingNativeTitleBar (true);

    const auto icon = juce::ImageCache::getFromMemory (BinaryData::icon_png, BinaryData::icon_pngSize);
    if (icon.isValid())
        setIcon (icon);
}

void MainDialog::closeButtonPressed()
{
    // The wizard's one way out of the program, with no question asked here.
    if (auto* wizard = dynamic_cast<MainComponent*> (getContentComponent()))
        wizard->quitProgram();
    else
        juce::JUCEApplication::quit();
}
