#include "app/SetupPage.h"

#include "project/Dialogs.h"
#include "project/Project.h"

SetupPage::SetupPage (Project* projectToUse)
    : Page ("SetupPage", projectToUse)
{
    group.setText (project->translate ("Capture Info"));
    group.setBounds (80, 120, 280, 190);
    addAndMakeVisible (group);

    folderLabel.setText (project->translate ("Tracks will be saved in the following folder:"),
                         juce::dontSendNotification);
    preampLabel.setText (project->translate ("Do you use a phono preAmp?"), juce::dontSendNotification);
    folderLabel.setFont (folderLabel.getFont().withHeight (13.0f));
    preampLabel.setFont (preampLabel.getFont().withHeight (13.0f));

    folderEditor.setReadOnly (true);
    folderEditor.setText (project->rootDirectory, false);

    deviceButton.setButtonText (project->translate ("Audio device options"));
    deviceButton.setTooltip (project->translate ("Select audio device to use for capture"));
    browseButton.setButtonText ("...");
    browseButton.setTooltip (
        project->translate ("Browse to select the directory in which capture files will be saved"));
    preampYes.setButtonText (project->translate ("yes"));
    preampYes.setTooltip (project->translate ("Click here to disable the RIAA emulation"));
    preampNo.setButtonText (project->translate ("no"));
    preampNo.setTooltip (project->translate ("Click here to enable the RIAA emulation"));

    preampYes.setRadioGroupId (1234);
    preampNo.setRadioGroupId (1234);
    (project->preamp ? preampYes : preampNo).setToggleState (true, juce::sendNotification);

    for (auto* component : std::initializer_list<juce::Component*>{
             &folderLabel, &preampLabel, &folderEditor, &deviceButton, &browseButton, &preampYes, &preampNo })
        addAndMakeVisible (component);

    for (auto* button : std::initializer_list<juce::Button*>{ &deviceButton, &browseButton, &preampYes, &preampNo })
        button->addListener (this);

    // The drivers are scanned once, as the program starts.
    {
        juce::OwnedArray<juce::AudioIODeviceType> types;
        project->createAudioDeviceTypes (types);
        for (auto* type : types)
            type->scanForDevices();
    }

    deviceSelector =
        std::make_unique<juce::AudioDeviceSelectorComponent> (*project, 2, 2, 2, 2, false, false, true, true);
}

SetupPage::~SetupPage()
{
    for (auto* button : std::initializer_list<juce::Button*>{ &deviceButton, &browseButton, &preampYes, &preampNo })
        button->removeListener (this);
}

void SetupPage::resized()
{
    folderLabel.setBounds (103, 130, 240, 45);
    folderEditor.setBounds (110, 170, 200, 20);
    browseButton.setBounds (315, 170, 25, 20);
    deviceButton.setBounds (140, 210, 150, 22);
    preampLabel.setBounds (133, 235, 200, 40);
    preampYes.setBounds (175, 270, 50, 23);
    preampNo.setBounds (225, 270, 50, 23);
}

void SetupPage::buttonClicked (juce::Button* button)
{
    if (button == &browseButton)
    {
        FileRequest request;
        request.mode = FileRequest::Mode::directory;
        request.title = project->translate ("Please select the capture destination");
        request.initial = juce::File (project->rootDirectory);

        juce::File chosen;
        if (Dialogs::get().chooseFile (request, chosen))
        {
            folderEditor.setText (chosen.getFullPathName(), false);
            project->setRootDirectory (chosen.getFullPathName());
            project->setCaptureFolder (chosen.getFullPathName());
        }
    }
    else if (button == &deviceButton)
    {
        deviceSelector->setVisible (true);
        deviceSelector->setBounds (0, 32, 500, 400);
        Dialogs::get().runDialog (project->translate ("Devices"), *deviceSelector, this, juce::Colours::lightgrey);
        project->saveDeviceSettings();
    }
    // A radio button also reports being turned off by its partner; only the one turned on counts.
    else if (button == &preampYes && preampYes.getToggleState())
    {
        project->setPreamp (true);
    }
    else if (button == &preampNo && preampNo.getToggleState())
    {
        project->setPreamp (false);
    }
}
