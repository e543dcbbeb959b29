#pragma once

#include "app/Page.h"

/** The last page: a new capture, another encode, or the end. */
class FinalPage : public Page, public juce::ActionBroadcaster
{
public:
    FinalPage (Project* project, juce::ActionListener* listener);

    void resized() override;

    /** Brings the labels in step with the project type. */
    void refresh();
};
