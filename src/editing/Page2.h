#pragma once

#include "app/Page.h"

/** The track page: the track list, its filters, preview, split, merge and resampling. */
class Page2 : public Page, public juce::ActionBroadcaster
{
public:
    Page2 (Project* project, juce::ActionListener* listener);

    void resized() override;

    /** The list view reads the track list afresh. */
    void updateTrackList();

    /** Shows the buttons that fit the project type and the list. */
    void updateButtonVisibility();
};
