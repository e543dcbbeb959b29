#pragma once

#include "app/Page.h"

/**
    The last page: a new capture in a rip project, another encode in an encode project, or the
    end through the wizard's Quit. It moves the wizard itself and asks it to bring its title and
    buttons up to date.
*/
class FinalPage : public Page, public juce::Button::Listener, public juce::ActionBroadcaster
{
public:
    FinalPage (Project* project, juce::ActionListener* listener);
    ~FinalPage() override;

    void resized() override;

    /** In an encode project the texts speak of another encode; they are never set back. */
    void refresh();

    void buttonClicked (juce::Button* button) override;

    juce::Label finalLabel{ "final" };
    juce::TextButton againButton{ "Do new capture" };

private:
    /** Hides the page shown now and shows the one at `index`, then asks the wizard to refresh. */
    void moveWizardTo (int index);

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (FinalPage)
};
