#include "encoding/FinalPage.h"

#include "app/MainComponent.h"
#include "capture/AudioReader.h"
#include "project/Project.h"

namespace
{
constexpr int albumPageIndex = 2;
constexpr int trackPageIndex = 4;
} // namespace

FinalPage::FinalPage (Project* projectToUse, juce::ActionListener* listener)
    : Page ("FinalPage", projectToUse)
{
    finalLabel.setText (project->translate ("Do you wish to do a new capture ?"), juce::dontSendNotification);
    finalLabel.setJustificationType (juce::Justification::centred);
    againButton.setButtonText (project->translate ("Do new capture"));
    againButton.setTooltip (project->translate ("Start over again"));

    addAndMakeVisible (finalLabel);
    addAndMakeVisible (againButton);
    againButton.addListener (this);

    if (listener != nullptr)
        addActionListener (listener);
}

FinalPage::~FinalPage()
{
    againButton.removeListener (this);
}

void FinalPage::resized()
{
    finalLabel.setBounds (60, 75, 320, 50);
    againButton.setBounds (140, 135, 160, 25);
}

void FinalPage::refresh()
{
    if (project->projectType != encodeProject)
        return;

    finalLabel.setText (project->translate ("Do you wish to encode more ?"), juce::dontSendNotification);
    againButton.setButtonText (project->translate ("Encode again"));
}

void FinalPage::buttonClicked (juce::Button* button)
{
    if (button != &againButton)
        return;

    if (project->projectType == encodeProject)
    {
        project->clearAlbumData();

        // The files stay where they are; only the list forgets them.
        project->clearTracks();
        project->lastWrittenTrack = 0;

        moveWizardTo (trackPageIndex);
        return;
    }

    project->resetForNewCapture();
    moveWizardTo (albumPageIndex);

    // The track page owns the preview player: it stops and lets go of its file, and stays.
    if (auto* reader = project->audioReader)
        reader->releaseFile();
}

void FinalPage::moveWizardTo (int index)
{
    auto& pages = MainComponent::pages;
    const auto current = (size_t) MainComponent::currentPage;

    if (current < pages.size())
        pages[current]->setVisible (false);
    if ((size_t) index < pages.size())
        pages[(size_t) index]->setVisible (true);
    MainComponent::currentPage = index;

    sendActionMessage ("REFRESH");
}
