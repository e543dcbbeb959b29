#include "app/ProjectPage.h"
#include "app/SetupPage.h"
#include "support/FakeAudioDevice.h"
#include "support/WizardFixture.h"

namespace
{
template <typename ComponentType>
ComponentType* findChild (juce::Component& parent, const juce::String& name)
{
    for (auto* child : parent.getChildren())
        if (child->getName() == name)
            if (auto* found = dynamic_cast<ComponentType*> (child))
                return found;
    return nullptr;
}
} // namespace

TEST_F (WizardTest, theProjectPageOffersRipAndEncode)
{
    auto& page = *wizard->projectPage;
    EXPECT_EQ (page.getName(), "Page3");

    EXPECT_EQ (page.homeLabel.getName(), "homeLabel");
    EXPECT_EQ (page.homeLabel.getText(),
               "Welcome to the Groove Smith Wizard which will guide you through the ripping process.");
    EXPECT_TRUE (page.homeLabel.getFont().isBold());
    EXPECT_EQ (page.homeLabel.getFont().getHeight(), 13.0f);
    EXPECT_EQ (page.typeLabel.getName(), "projectType");
    EXPECT_EQ (page.typeLabel.getText(), "What do you want to do ?");
    EXPECT_EQ (page.ripButton.getButtonText(), "Rip Vinyls");
    EXPECT_EQ (page.encodeButton.getButtonText(), "Encode files");
    EXPECT_EQ (page.ripButton.getRadioGroupId(), 1235);
    EXPECT_EQ (page.encodeButton.getRadioGroupId(), 1235);

    EXPECT_EQ (page.typeLabel.getBounds(), juce::Rectangle<int> (60, 130, 320, 50));
    EXPECT_EQ (page.ripButton.getBounds(), juce::Rectangle<int> (180, 170, 80, 25));
    EXPECT_EQ (page.encodeButton.getBounds(), juce::Rectangle<int> (180, 200, 120, 25));
    EXPECT_EQ (page.homeLabel.getBounds(), juce::Rectangle<int> (40, 70, 360, 50));
}

TEST_F (WizardTest, theRadioPairSetsTheProjectType)
{
    auto& page = *wizard->projectPage;
    click (page.encodeButton);
    EXPECT_EQ (project().projectType, encodeProject);
    EXPECT_FALSE (page.ripButton.getToggleState());
    click (page.encodeButton);
    EXPECT_EQ (project().projectType, encodeProject);
    click (page.ripButton);
    EXPECT_EQ (project().projectType, ripProject);
    EXPECT_FALSE (page.encodeButton.getToggleState());
}

TEST_F (WizardTest, theSetupPageShowsTheFolderTheDeviceButtonAndThePreampQuestion)
{
    auto& page = *wizard->setupPage;
    EXPECT_EQ (page.getName(), "SetupPage");

    auto* group = findChild<juce::GroupComponent> (page, "group");
    ASSERT_NE (group, nullptr);
    EXPECT_EQ (group->getText(), "Capture Info");
    EXPECT_EQ (group->getBounds(), juce::Rectangle<int> (80, 120, 280, 190));

    EXPECT_EQ (page.folderLabel.getName(), "folderLabel");
    EXPECT_EQ (page.folderLabel.getText(), "Tracks will be saved in the following folder:");
    EXPECT_EQ (page.preampLabel.getName(), "preAmpLabel");
    EXPECT_EQ (page.preampLabel.getText(), "Do you use a phono preAmp?");
    for (auto* label : { &page.folderLabel, &page.preampLabel })
    {
        EXPECT_FALSE (label->getFont().isBold());
        EXPECT_EQ (label->getFont().getHeight(), 13.0f);
    }

    EXPECT_TRUE (page.folderEditor.isReadOnly());
    EXPECT_EQ (page.folderEditor.getText(), project().rootDirectory);

    EXPECT_EQ (page.deviceButton.getButtonText(), "Audio device options");
    EXPECT_EQ (page.deviceButton.getTooltip(), "Select audio device to use for capture");
    EXPECT_EQ (page.browseButton.getButtonText(), "...");
    EXPECT_EQ (page.browseButton.getTooltip(), "Browse to select the directory in which capture files will be saved");
    EXPECT_EQ (page.preampYes.getButtonText(), "yes");
    EXPECT_EQ (page.preampYes.getTooltip(), "Click here to disable the RIAA emulation");
    EXPECT_EQ (page.preampNo.getButtonText(), "no");
    EXPECT_EQ (page.preampNo.getTooltip(), "Click here to enable the RIAA emulation");
    EXPECT_EQ (page.preampYes.getRadioGroupId(), 1234);
    EXPECT_EQ (page.preampNo.getRadioGroupId(), 1234);
    EXPECT_FALSE (page.preampYes.getToggleState());
    EXPECT_TRUE (page.preampNo.getToggleState());

    EXPECT_EQ (page.folderLabel.getBounds(), juce::Rectangle<int> (103, 130, 240, 45));
    EXPECT_EQ (page.folderEditor.getBounds(), juce::Rectangle<int> (110, 170, 200, 20));
    EXPECT_EQ (page.browseButton.getBounds(), juce::Rectangle<int> (315, 170, 25, 20));
    EXPECT_EQ (page.deviceButton.getBounds(), juce::Rectangle<int> (140, 210, 150, 22));
    EXPECT_EQ (page.preampLabel.getBounds(), juce::Rectangle<int> (133, 235, 200, 40));
    EXPECT_EQ (page.preampYes.getBounds(), juce::Rectangle<int> (175, 270, 50, 23));
    EXPECT_EQ (page.preampNo.getBounds(), juce::Rectangle<int> (225, 270, 50, 23));

    ASSERT_NE (page.deviceSelector, nullptr);
    EXPECT_EQ (page.deviceSelector->getParentComponent(), nullptr);
}

TEST_F (WizardTest, clickingYesTwiceLeavesThePreampOnAndSavesIt)
{
    next();
    auto& page = *wizard->setupPage;
    click (page.preampYes);
    EXPECT_TRUE (project().preamp);
    EXPECT_EQ (project().getSettings().getValue ("preamp"), "1");

    // The stored value is changed behind the page's back: only a second write brings it back,
    // since the settings ignore a value equal to the one they hold.
    project().getSettings().setValue ("preamp", "0");
    click (page.preampYes);
    EXPECT_TRUE (project().preamp);
    EXPECT_TRUE (page.preampYes.getToggleState());
    EXPECT_FALSE (page.preampNo.getToggleState());
    EXPECT_EQ (project().getSettings().getValue ("preamp"), "1");

    click (page.preampNo);
    EXPECT_FALSE (project().preamp);
    EXPECT_EQ (project().getSettings().getValue ("preamp"), "0");
}

TEST_F (WizardTest, cancellingTheFolderChooserLeavesTheFolderAsItWas)
{
    next();
    auto& page = *wizard->setupPage;
    const auto before = project().rootDirectory;

    dialogs.chooseNext ({});
    click (page.browseButton);

    ASSERT_EQ (dialogs.choosers().size(), 1u);
    const auto chooser = dialogs.choosers()[0];
    EXPECT_EQ (chooser.request.mode, FileRequest::Mode::directory);
    EXPECT_EQ (chooser.request.title, "Please select the capture destination");
    EXPECT_EQ (chooser.request.initial, juce::File (before));
    EXPECT_TRUE (chooser.request.filter.isEmpty());

    EXPECT_EQ (project().rootDirectory, before);
    EXPECT_EQ (page.folderEditor.getText(), before);
    EXPECT_FALSE (project().getSettings().containsKey ("rootdir"));
}

TEST_F (WizardTest, aChosenFolderBecomesTheRootAndTheCaptureFolder)
{
    next();
    auto& page = *wizard->setupPage;
    const auto folder = testHome().getChildFile ("vinyl");
    folder.createDirectory();

    dialogs.chooseNext (folder);
    click (page.browseButton);

    EXPECT_EQ (page.folderEditor.getText(), folder.getFullPathName());
    EXPECT_EQ (project().rootDirectory, folder.getFullPathName());
    EXPECT_EQ (project().captureFolder, folder.getFullPathName());
    EXPECT_EQ (project().getSettings().getValue ("rootdir"), folder.getFullPathName());
}

TEST_F (WizardTest, theDeviceDialogShowsTheSelectorAndSavesTheChoiceAfterwards)
{
    ASSERT_NE (FakeAudioDeviceType::install (project()), nullptr);
    ASSERT_FALSE (project().getSettings().containsKey ("devicesettings"));

    next();
    click (wizard->setupPage->deviceButton);

    ASSERT_EQ (dialogs.dialogs().size(), 1u);
    const auto shown = dialogs.dialogs()[0];
    EXPECT_EQ (shown.title, "Devices");
    EXPECT_EQ (shown.content, wizard->setupPage->deviceSelector.get());
    // The selector then fits its height to the controls the device needs.
    EXPECT_EQ (shown.contentBounds.getPosition(), juce::Point<int> (0, 32));
    EXPECT_EQ (shown.contentBounds.getWidth(), 500);
    EXPECT_TRUE (shown.contentVisible);
    EXPECT_EQ (shown.background, juce::Colours::lightgrey);

    ASSERT_TRUE (project().getSettings().containsKey ("devicesettings"));
    EXPECT_EQ (project().getSettings().getXmlValue ("devicesettings")->getStringAttribute ("deviceType"), "Test");
}

TEST (FirstPages, aSavedPreampAnswerIsTickedAtStart)
{
    {
        Project project;
        project.setPreamp (true);
    }
    FakeDialogs dialogs;
    juce::Component window;
    MainComponent wizard (&window);
    EXPECT_TRUE (wizard.setupPage->preampYes.getToggleState());
    EXPECT_FALSE (wizard.setupPage->preampNo.getToggleState());
    EXPECT_TRUE (wizard.getProject().preamp);
}

TEST (FirstPages, pagesAndButtonsSpeakTheLanguageOfTheLanguageFile)
{
    const auto code = "w" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
    const auto file = Project::programFolder().getChildFile ("lang-" + code + ".txt");
    ASSERT_TRUE (file.replaceWithText ("language: Test\n\n"
                                       "\"Next\" = \"Suivant\"\n"
                                       "\"Go to next page\" = \"Aller a la page suivante\"\n"
                                       "\"Rip Vinyls\" = \"Numeriser des vinyles\"\n"
                                       "\"Groovesmith -- Page \" = \"Groovesmith -- Etape \"\n"
                                       "\"Help\" = \"Aide\"\n"
                                       "\"ok\" = \"d'accord\"\n"
                                       "\"...\" = \"never shown\"\n"));
    {
        Project project;
        project.getSettings().setValue ("lang", code);
    }
    {
        FakeDialogs dialogs;
        juce::Component window;
        MainComponent wizard (&window);
        EXPECT_EQ (wizard.nextButton.getButtonText(), "Suivant");
        EXPECT_EQ (wizard.nextButton.getTooltip(), "Aller a la page suivante");
        EXPECT_EQ (wizard.backButton.getButtonText(), "Back");
        EXPECT_EQ (wizard.projectPage->ripButton.getButtonText(), "Numeriser des vinyles");
        EXPECT_EQ (wizard.setupPage->browseButton.getButtonText(), "...");
        EXPECT_EQ (window.getName(), "Groovesmith -- Etape 1 / 7");

        wizard.buttonClicked (&wizard.helpButton);
        ASSERT_EQ (dialogs.alerts().size(), 1u);
        EXPECT_EQ (dialogs.alerts()[0].title, "Aide");
        EXPECT_EQ (dialogs.alerts()[0].buttons, juce::StringArray ("d'accord"));
    }
    file.deleteFile();
}
