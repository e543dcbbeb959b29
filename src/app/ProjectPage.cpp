#include "app/ProjectPage.h"

#include "project/Project.h"

ProjectPage::ProjectPage (Project* projectToUse)
    : Page ("Page3", projectToUse)
{
    homeLabel.setText (
        project->translate ("Welcome to the Groove Smith Wizard which will guide you through the ripping process."),
        juce::dontSendNotification);
    homeLabel.setFont (homeLabel.getFont().boldened().withHeight (13.0f));
    typeLabel.setText (project->translate ("What do you want to do ?"), juce::dontSendNotification);
    ripButton.setButtonText (project->translate ("Rip Vinyls"));
    encodeButton.setButtonText (project->translate ("Encode files"));

    ripButton.setRadioGroupId (1235);
    encodeButton.setRadioGroupId (1235);
    ripButton.setToggleState (true, juce::dontSendNotification);

    for (auto* component : std::initializer_list<juce::Component*>{ &homeLabel, &typeLabel, &ripButton, &encodeButton })
        addAndMakeVisible (component);

    ripButton.addListener (this);
    encodeButton.addListener (this);
}

ProjectPage::~ProjectPage()
{
    ripButton.removeListener (this);
    encodeButton.removeListener (this);
}

void ProjectPage::resized()
{
    typeLabel.setBounds (60, 130, 320, 50);
    ripButton.setBounds (180, 170, 80, 25);
    encodeButton.setBounds (180, 200, 120, 25);
    homeLabel.setBounds (40, 70, 360, 50);
}

void ProjectPage::buttonClicked (juce::Button* button)
{
    // The button turned off by its radio partner reports too; only the one turned on counts.
    if (! button->getToggleState())
        return;

    if (button == &ripButton)
        project->projectType = ripProject;
    else if (button == &encodeButton)
        project->projectType = encodeProject;
}
