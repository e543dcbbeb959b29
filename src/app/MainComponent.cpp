#include "app/MainComponent.h"

#include "app/EncodeRun.h"
#include "app/ProjectPage.h"
#include "app/SetupPage.h"
#include "capture/Audio.h"
#include "capture/Page1.h"
#include "capture/TrackWriter.h"
#include "editing/Page2.h"
#include "encoding/AlbumFiles.h"
#include "encoding/AlbumPage.h"
#include "encoding/FinalPage.h"
#include "encoding/Page3.h"
#include "project/Dialogs.h"
#include "project/Project.h"

int MainComponent::currentPage = 0;
std::vector<Page*> MainComponent::pages;

namespace
{
enum PageIndex
{
    projectPageIndex = 0,
    setupPageIndex = 1,
    albumPageIndex = 2,
    capturePageIndex = 3,
    trackPageIndex = 4,
    formatPageIndex = 5,
    finalPageIndex = 6
};

const char* helpMessage (int page, int projectType)
{
    switch (page)
    {
        case projectPageIndex:
            return NEEDS_TRANS (
                "Select what type of project you want:\nRip vinyl (or any other audio source)\nor\nEncode or "
                "Reencode existing audio files");
        case setupPageIndex:
            return NEEDS_TRANS (
                "Select the location for recording (if other than 'My Documents')\nChoose the sound card to use (if "
                "other than the default)\nIf you keep 'no' ticked for Preamp, an RIAA emulation filter will be "
                "applied");
        case albumPageIndex:
            return NEEDS_TRANS (
                "Change info about the tracks you're about to rip.\nA new folder will be created to keep things "
                "organized.\nYou can drag cover (back and front) from any explorer/finder window.\nClick reset to "
                "reset all info, including covers");
        case capturePageIndex:
            return NEEDS_TRANS (
                "Click Test to test the volume (not too loud, not too low)\nClick Calibrate to calibrate the "
                "silence threshold\nClick Rumble to deactivate/activate rumble filter\nClick Param to set the "
                "minimum silence between two tracks and the silence threshold for silence detection\nClick capture "
                "to start capturing and writing to disk");
        case trackPageIndex:
            return NEEDS_TRANS (
                "You can apply filters to files in the tracklist\nCaution ! no preview here: files will be edited "
                "in place");
        case formatPageIndex:
            return NEEDS_TRANS (
                "Select the format of audio file you want to generate.\nFor Itunes convertion, you need Itunes "
                "installed.\nFor lame you need to select the location of 'lame_enc.dll'");
        case finalPageIndex:
            return projectType == ripProject
                       ? NEEDS_TRANS ("Start over again by clicking on the 'Do new capture' button")
                       : NEEDS_TRANS ("Start over again by clicking on the 'Encode again' button");
        default:
            return nullptr;
    }
}
} // namespace

MainComponent::MainComponent (juce::Component* window)
    : juce::Component ("Main Component"),
      mainDialog (window)
{
    juce::LookAndFeel::setDefaultLookAndFeel (&lookAndFeel);
    currentPage = projectPageIndex;
    quitProgram = [] { juce::JUCEApplication::quit(); };

    tooltipWindow = std::make_unique<juce::TooltipWindow> (nullptr, 700);
    project = std::make_unique<Project>();
    albumFiles = std::make_unique<AlbumFiles> (*project);

    projectPage = std::make_unique<ProjectPage> (project.get());
    setupPage = std::make_unique<SetupPage> (project.get());
    albumPage = std::make_unique<AlbumPage> (project.get());
    page1 = std::make_unique<Page1> (project.get());
    page2 = std::make_unique<Page2> (project.get(), this);
    page3 = std::make_unique<Page3> (project.get());
    finalPage = std::make_unique<FinalPage> (project.get(), this);

    pages = { projectPage.get(), setupPage.get(), albumPage.get(), page1.get(),
              page2.get(),       page3.get(),     finalPage.get() };

    addAndMakeVisible (*projectPage);
    for (size_t i = 1; i < pages.size(); ++i)
        addChildComponent (pages[i]);

    const auto setUpButton = [this] (juce::TextButton& button, const juce::String& text, const juce::String& tooltip)
    {
        button.setButtonText (text);
        button.setTooltip (tooltip);
        addAndMakeVisible (button);
    };
    setUpButton (backButton, project->translate ("Back"), project->translate ("Go to previous page"));
    setUpButton (nextButton, project->translate ("Next"), project->translate ("Go to next page"));
    setUpButton (cancelButton, project->translate ("Cancel"),
                 project->translate ("Cancel everything and quit the application"));
    setUpButton (helpButton, project->translate ("Help"),
                 project->translate ("Display a quick help about the current page"));

    for (auto* button : { &backButton, &nextButton, &cancelButton, &helpButton })
        button->addListener (this);

    backButton.setVisible (false);
    updateTitle();
    updateButtons();
}

MainComponent::~MainComponent()
{
    for (auto* button : { &backButton, &nextButton, &cancelButton, &helpButton })
        button->removeListener (this);

    tooltipWindow.reset();
    pages.clear();

    // The capture engine ends its run and lets go of the project before anything else goes.
    Audio::deleteInstance();
    TrackWriter::deleteInstance();

    // The pages go before the project, which they use to the end.
    projectPage.reset();
    setupPage.reset();
    albumPage.reset();
    page1.reset();
    page2.reset();
    page3.reset();
    finalPage.reset();
    albumFiles.reset();
    project.reset();

    juce::LookAndFeel::setDefaultLookAndFeel (nullptr);
}

//==============================================================================
void MainComponent::paint (juce::Graphics& g)
{
    const auto h = (float) getHeight();
    g.drawLine (0.0f, h - 40.0f, (float) getWidth(), h - 40.0f);

    // A repaint alone brings the label, the pages' state, the title and Back up to date.
    setNextButtonText (false);

    if (page2 != nullptr && currentPage == trackPageIndex)
    {
        if (project->trackCount() == 0)
            page2->updateTrackList();
        page2->updateButtonVisibility();
    }
    else if (currentPage == finalPageIndex)
    {
        finalPage->refresh();
    }

    updateTitle();
    updateBackButtonVisibility();
}

void MainComponent::resized()
{
    const int w = getWidth();
    const int h = getHeight();

    for (auto* page : pages)
        page->setBounds (0, 0, w, h - 35);

    const int q = w / 10;
    backButton.setBounds (2 * q, h - 30, 70, 25);
    helpButton.setBounds (2 * q + 70, h - 30, 70, 25);
    cancelButton.setBounds (6 * q, h - 30, 70, 25);
    nextButton.setBounds (8 * q, h - 30, 70, 25);

    updateTitle();
    updateButtons();
}

//==============================================================================
juce::String MainComponent::titleText() const
{
    return project->translate ("Groovesmith -- Page ") + juce::String (currentPage + 1) + project->translate (" / 7");
}

void MainComponent::updateTitle()
{
    if (mainDialog != nullptr)
        mainDialog->setName (titleText());
}

void MainComponent::setNextButtonText (bool withTooltip)
{
    const char* text = NEEDS_TRANS ("Next");
    const char* tooltip = NEEDS_TRANS ("Go to next page");

    if (currentPage == finalPageIndex)
    {
        text = NEEDS_TRANS ("Quit");
        tooltip = NEEDS_TRANS ("Quit the application");
    }
    else if (currentPage == formatPageIndex && project->projectType == encodeProject)
    {
        text = NEEDS_TRANS ("Finish");
        tooltip = NEEDS_TRANS ("Encode tracks");
    }

    nextButton.setButtonText (project->translate (text));
    if (withTooltip)
        nextButton.setTooltip (project->translate (tooltip));
}

void MainComponent::updateBackButtonVisibility()
{
    bool visible = false;

    switch (currentPage)
    {
        case setupPageIndex:
        case capturePageIndex:
        case formatPageIndex:
            visible = true;
            break;
        case albumPageIndex:
            visible = ! project->captureStarted;
            break;
        case trackPageIndex:
            visible = project->projectType == encodeProject;
            break;
        default:
            break;
    }

    backButton.setVisible (visible);
}

void MainComponent::updateButtons()
{
    setNextButtonText (true);

    if (currentPage == trackPageIndex)
    {
        page2->updateButtonVisibility();
        page2->updateTrackList();
    }
    else if (currentPage == finalPageIndex)
    {
        finalPage->refresh();
    }

    updateBackButtonVisibility();
}

void MainComponent::actionListenerCallback (const juce::String& message)
{
    if (message != "REFRESH")
        return;

    // Emptying the name first makes the window redraw its title.
    if (mainDialog != nullptr)
    {
        const auto title = titleText();
        mainDialog->setName ({});
        mainDialog->setName (title);
    }

    repaint();
}

//==============================================================================
void MainComponent::buttonClicked (juce::Button* button)
{
    if (button == &backButton)
    {
        if (! project->captureRunning)
            backClicked();
    }
    else if (button == &nextButton)
    {
        if (! project->captureRunning)
            nextClicked();
    }
    else if (button == &cancelButton)
    {
        cancelClicked();
    }
    else if (button == &helpButton)
    {
        helpClicked();
    }
}

void MainComponent::goToPage (int index)
{
    pages[(size_t) currentPage]->setVisible (false);
    currentPage = index;
    pages[(size_t) currentPage]->setVisible (true);
    updateTitle();
    updateButtons();
}

void MainComponent::backClicked()
{
    switch (currentPage)
    {
        case setupPageIndex:
        case albumPageIndex:
        case capturePageIndex:
        case formatPageIndex:
            goToPage (currentPage - 1);
            break;
        case trackPageIndex:
            goToPage (project->projectType == encodeProject ? projectPageIndex : capturePageIndex);
            break;
        default:
            break;
    }
}

void MainComponent::nextClicked()
{
    switch (currentPage)
    {
        case projectPageIndex:
            if (project->projectType == encodeProject)
            {
                goToPage (trackPageIndex);
                askAboutSavedTrackList();
                backButton.setVisible (true);
            }
            else
            {
                backButton.setVisible (true);
                goToPage (setupPageIndex);
            }
            break;

        case setupPageIndex:
            goToPage (albumPageIndex);
            break;

        case albumPageIndex:
            if (prepareAlbumFolder())
                goToPage (capturePageIndex);
            break;

        case capturePageIndex:
            if (project->trackCount() > 0)
                page2->updateTrackList();
            goToPage (trackPageIndex);
            break;

        case trackPageIndex:
            stopCaptureAndPreview();
            goToPage (formatPageIndex);
            break;

        case formatPageIndex:
            if (project->trackCount() == 0 || encodeTracks())
                goToPage (finalPageIndex);
            break;

        case finalPageIndex:
            quitProgram();
            break;

        default:
            break;
    }
}

void MainComponent::askAboutSavedTrackList()
{
    if (! project->savedTrackListExists())
        return;

    const auto answer =
        showYesNoCancel (juce::MessageBoxIconType::InfoIcon, project->translate ("Saved track list found"),
                         project->translate ("What do you want to do with it ?"), project->translate ("Load it"),
                         project->translate ("Delete it"), project->translate ("Nothing"));
    if (answer == 1)
    {
        project->loadSavedTrackList();
        page2->updateTrackList();
    }
    else if (answer == 2)
    {
        project->deleteSavedTrackList();
    }
}

bool MainComponent::prepareAlbumFolder()
{
    if (project->captureStarted)
        return true;

    project->setCaptureFolder (project->rootDirectory);

    const auto name = AlbumFiles::albumFolderName (*project);
    if (name.isEmpty())
        return true;

    const auto path = project->captureFolder + juce::File::getSeparatorString() + name;
    const juce::File folder (path);
    const auto title = project->translate ("Album directory");

    if (folder.isDirectory())
    {
        const auto answer = showYesNoCancel (juce::MessageBoxIconType::WarningIcon, title,
                                             "\"" + path + project->translate ("\" exists, put files there anyway ?"));
        if (answer == 0)
            return false;
        if (answer == 1)
            project->setCaptureFolder (path);
        return true;
    }

    const auto answer = showYesNoCancel (juce::MessageBoxIconType::InfoIcon, title,
                                         "\"" + path + project->translate ("\" does not exist. Create it ?"));
    if (answer == 0)
        return false;
    if (answer == 2)
        return true;

    if (! folder.createDirectory())
    {
        showError (project->translate ("Can't create directory !"));
        return false;
    }

    project->setCaptureFolder (path);
    return true;
}

bool MainComponent::encodeTracks()
{
    EncodeRun run (*project, *albumFiles);
    return run.run();
}

void MainComponent::writeTags (const juce::String& name, const juce::File& file, int trackNumber)
{
    albumFiles->writeTags (name, file, trackNumber);
}

void MainComponent::moveTrackToAlbum (const juce::String& name, const juce::File& file, int trackNumber)
{
    albumFiles->moveTrackToAlbum (name, file, trackNumber);
}

void MainComponent::copyCoversToAlbumFolder()
{
    albumFiles->copyCoversToAlbumFolder();
}

void MainComponent::stopCaptureAndPreview()
{
    if (auto* audio = Audio::getInstance())
        audio->stop();

    // The track page owns the preview player: one that plays is told to end and the page's
    // timer winds it down; one that doesn't is deleted by the page at once.
    if (project->audioReader != nullptr)
        page2->endPreview();
}

void MainComponent::cancelClicked()
{
    updateTitle();
    updateButtons();
    stopCaptureAndPreview();

    if (project->trackCount() > 0 && project->projectType == ripProject)
    {
        const auto answer =
            showYesNoCancel (juce::MessageBoxIconType::WarningIcon, project->translate ("Delete Track(s)"),
                             project->translate ("Are you sure to delete all your tracks"));
        if (answer == 0)
            return;
        if (answer == 1)
            project->deleteAllTracks (true);
    }
    else if (project->trackCount() > 0)
    {
        const auto answer =
            showYesNoCancel (juce::MessageBoxIconType::WarningIcon, project->translate ("Quit Groove Smith"),
                             project->translate ("Tracklist will be lost !\nDo you wish to save it ?"));
        if (answer == 0)
            return;
        if (answer == 1)
            project->saveTrackList();
    }
    else if (! showOkCancel (juce::MessageBoxIconType::InfoIcon, project->translate ("Quit Groove Smith"),
                             project->translate ("Are you sure you want to quit ?")))
    {
        return;
    }

    quitProgram();
}

void MainComponent::helpClicked()
{
    const auto* message = helpMessage (currentPage, project->projectType);
    if (message == nullptr)
    {
        showError ("No help here");
        return;
    }

    showMessage (juce::MessageBoxIconType::InfoIcon, project->translate ("Help"), project->translate (message),
                 project->translate ("ok"));
}

//==============================================================================
bool MainComponent::isInterestedInFileDrag (const juce::StringArray&)
{
    return true;
}

void MainComponent::filesDropped (const juce::StringArray& files, int x, int)
{
    juce::StringArray sorted (files);
    sorted.sort (true);

    if (currentPage == trackPageIndex)
    {
        for (const auto& file : sorted)
            project->addTrackFile (file);
        page2->updateTrackList();
        page2->repaint();
    }
    else if (currentPage == albumPageIndex)
    {
        // The first picture by name is the cover: the left of the line at 200 is the front.
        for (const auto& file : sorted)
        {
            if (file.endsWithIgnoreCase (".jpg") || file.endsWithIgnoreCase (".png") ||
                file.endsWithIgnoreCase (".jpeg"))
            {
                if (x < 200)
                    albumPage->setFrontCover (file);
                else
                    albumPage->setBackCover (file);
                break;
            }
        }
    }
}
