#pragma once

#include "app/GrooveLookAndFeel.h"

#include <functional>
#include <memory>
#include <vector>

class Project;
class Page;
class ProjectPage;
class SetupPage;
class AlbumPage;
class Page1;
class Page2;
class Page3;
class FinalPage;
class AlbumFiles;

/**
    The wizard: creates the project and the seven pages, shows one page at a time, keeps the
    window title and the buttons at the foot in step with it, and does the work between pages.
*/
class MainComponent :
    public juce::Component,
    public juce::Button::Listener,
    public juce::FileDragAndDropTarget,
    public juce::ActionListener
{
public:
    /** `window` carries the title; it may be null (then the title goes nowhere). */
    explicit MainComponent (juce::Component* window);
    ~MainComponent() override;

    void paint (juce::Graphics& g) override;
    void resized() override;

    bool isInterestedInFileDrag (const juce::StringArray& files) override;
    void filesDropped (const juce::StringArray& files, int x, int y) override;

    void buttonClicked (juce::Button* button) override;
    void buttonStateChanged (juce::Button*) override {}

    void actionListenerCallback (const juce::String& message) override;

    void updateTitle();
    void updateButtons();

    /** The title that `updateTitle` sets, for the current page. */
    juce::String titleText() const;

    Project& getProject() { return *project; }

    /** The finished track's tags: title, album, artist, year, genre and track number. */
    void writeTags (const juce::String& name, const juce::File& file, int trackNumber);

    /** The finished track goes to its final name in the album folder. */
    void moveTrackToAlbum (const juce::String& name, const juce::File& file, int trackNumber);

    /** The cover pictures go to the album folder as "Front" and "Back". */
    void copyCoversToAlbumFolder();

    /** Ends the program; tests replace it. */
    std::function<void()> quitProgram;

    static int currentPage;
    static std::vector<Page*> pages;

    GrooveLookAndFeel lookAndFeel;

    // Declared before the pages so that it goes after them: they use it to the end.
    std::unique_ptr<Project> project;
    std::unique_ptr<juce::TooltipWindow> tooltipWindow;
    std::unique_ptr<AlbumFiles> albumFiles;

    juce::Component* mainDialog;
    juce::TextButton backButton;
    juce::TextButton nextButton;
    juce::TextButton cancelButton;
    juce::TextButton helpButton;

    std::unique_ptr<ProjectPage> projectPage;
    std::unique_ptr<SetupPage> setupPage;
    std::unique_ptr<AlbumPage> albumPage;
    std::unique_ptr<Page1> page1;
    std::unique_ptr<Page2> page2;
    std::unique_ptr<Page3> page3;
    std::unique_ptr<FinalPage> finalPage;

private:
    void goToPage (int index);
    void backClicked();
    void nextClicked();
    void cancelClicked();
    void helpClicked();

    /** On entering the track page of an encode project: what to do with a saved list. */
    void askAboutSavedTrackList();

    /** Before Next from the album page: the album folder below the root. False when the user abandons. */
    bool prepareAlbumFolder();

    /** Next from the format page: the encode run over every track. False when it stopped. */
    bool encodeTracks();

    /** On leaving the track page, and before Cancel: capture and preview stop. */
    void stopCaptureAndPreview();

    void setNextButtonText (bool withTooltip);
    void updateBackButtonVisibility();
};
