#include "app/ProjectPage.h"
#include "editing/Page2.h"
#include "encoding/FinalPage.h"
#include "support/WizardFixture.h"

TEST_F (WizardTest, theWizardBuildsSevenPagesInOrderAndShowsTheFirst)
{
    EXPECT_EQ (wizard->getName(), "Main Component");
    ASSERT_EQ (MainComponent::pages.size(), 7u);

    const juce::StringArray names{ "Page3", "SetupPage", "AlbumPage", "Page1", "Page2", "Page3", "FinalPage" };
    for (int i = 0; i < 7; ++i)
    {
        EXPECT_EQ (MainComponent::pages[(size_t) i]->getName(), names[i]) << i;
        EXPECT_EQ (MainComponent::pages[(size_t) i]->getParentComponent(), wizard.get());
    }

    EXPECT_EQ (MainComponent::pages[0], static_cast<Page*> (wizard->projectPage.get()));
    EXPECT_EQ (MainComponent::pages[6], static_cast<Page*> (wizard->finalPage.get()));
    EXPECT_EQ (MainComponent::currentPage, 0);
    EXPECT_EQ (visiblePage(), 0);
    EXPECT_EQ (title(), "Groovesmith -- Page 1 / 7");
}

TEST_F (WizardTest, theFourButtonsHaveTheirTextsAndTooltips)
{
    EXPECT_EQ (wizard->backButton.getButtonText(), "Back");
    EXPECT_EQ (wizard->backButton.getTooltip(), "Go to previous page");
    EXPECT_EQ (wizard->nextButton.getButtonText(), "Next");
    EXPECT_EQ (wizard->nextButton.getTooltip(), "Go to next page");
    EXPECT_EQ (wizard->cancelButton.getButtonText(), "Cancel");
    EXPECT_EQ (wizard->cancelButton.getTooltip(), "Cancel everything and quit the application");
    EXPECT_EQ (wizard->helpButton.getButtonText(), "Help");
    EXPECT_EQ (wizard->helpButton.getTooltip(), "Display a quick help about the current page");

    EXPECT_FALSE (wizard->backButton.isVisible());
    EXPECT_TRUE (wizard->nextButton.isVisible());
    EXPECT_TRUE (wizard->cancelButton.isVisible());
    EXPECT_TRUE (wizard->helpButton.isVisible());
}

TEST_F (WizardTest, pagesAndButtonsArePlacedByTheWindowSize)
{
    for (auto* page : MainComponent::pages)
        EXPECT_EQ (page->getBounds(), juce::Rectangle<int> (0, 0, 435, 345));

    // q is 435 / 10, truncated: 43.
    EXPECT_EQ (wizard->backButton.getBounds(), juce::Rectangle<int> (86, 350, 70, 25));
    EXPECT_EQ (wizard->helpButton.getBounds(), juce::Rectangle<int> (156, 350, 70, 25));
    EXPECT_EQ (wizard->cancelButton.getBounds(), juce::Rectangle<int> (258, 350, 70, 25));
    EXPECT_EQ (wizard->nextButton.getBounds(), juce::Rectangle<int> (344, 350, 70, 25));

    wizard->setSize (500, 400);
    EXPECT_EQ (wizard->backButton.getBounds(), juce::Rectangle<int> (100, 370, 70, 25));
    EXPECT_EQ (wizard->nextButton.getBounds(), juce::Rectangle<int> (400, 370, 70, 25));
    EXPECT_EQ (wizard->pages[3]->getBounds(), juce::Rectangle<int> (0, 0, 500, 365));
}

TEST_F (WizardTest, aRipWalksThroughAllSevenPages)
{
    const bool backVisible[] = { false, true, true, true, false, true, false };
    const char* nextText[] = { "Next", "Next", "Next", "Next", "Next", "Next", "Quit" };

    for (int page = 0; page < 7; ++page)
    {
        SCOPED_TRACE (page);
        EXPECT_EQ (MainComponent::currentPage, page);
        EXPECT_EQ (visiblePage(), page);
        EXPECT_EQ (title(), "Groovesmith -- Page " + juce::String (page + 1) + " / 7");
        EXPECT_EQ (wizard->backButton.isVisible(), backVisible[page]);
        EXPECT_EQ (wizard->nextButton.getButtonText(), nextText[page]);
        if (page < 6)
            next();
    }

    EXPECT_EQ (wizard->nextButton.getTooltip(), "Quit the application");
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (quitCount, 0);
}

TEST_F (WizardTest, onTheFirstStartNextGoesToTheSetupPageUntouched)
{
    EXPECT_TRUE (wizard->projectPage->ripButton.getToggleState());
    EXPECT_FALSE (wizard->projectPage->encodeButton.getToggleState());
    next();
    EXPECT_EQ (MainComponent::currentPage, 1);
    EXPECT_EQ (visiblePage(), 1);
    EXPECT_TRUE (wizard->backButton.isVisible());
}

TEST_F (WizardTest, anEncodeProjectGoesFromPageOneStraightToPageFive)
{
    click (wizard->projectPage->encodeButton);
    ASSERT_EQ (project().projectType, encodeProject);

    next();
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_EQ (visiblePage(), 4);
    EXPECT_EQ (title(), "Groovesmith -- Page 5 / 7");
    EXPECT_TRUE (wizard->backButton.isVisible());

    next();
    EXPECT_EQ (title(), "Groovesmith -- Page 6 / 7");
    EXPECT_EQ (wizard->nextButton.getButtonText(), "Finish");
    EXPECT_EQ (wizard->nextButton.getTooltip(), "Encode tracks");
    EXPECT_TRUE (wizard->backButton.isVisible());

    next();
    EXPECT_EQ (title(), "Groovesmith -- Page 7 / 7");
    EXPECT_EQ (wizard->nextButton.getButtonText(), "Quit");
    EXPECT_FALSE (wizard->backButton.isVisible());
}

TEST_F (WizardTest, theFormatPageOfARipSaysNext)
{
    for (int i = 0; i < 5; ++i)
        next();
    ASSERT_EQ (MainComponent::currentPage, 5);
    EXPECT_EQ (wizard->nextButton.getButtonText(), "Next");
    EXPECT_EQ (wizard->nextButton.getTooltip(), "Go to next page");
}

TEST_F (WizardTest, backRetracesARip)
{
    for (int i = 0; i < 5; ++i)
        next();
    ASSERT_EQ (MainComponent::currentPage, 5);

    back();
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_FALSE (wizard->backButton.isVisible());

    // Hidden on the track page of a rip; were it pressed, it would go to the capture page.
    wizard->buttonClicked (&wizard->backButton);
    EXPECT_EQ (MainComponent::currentPage, 3);

    for (int expected : { 2, 1, 0 })
    {
        back();
        EXPECT_EQ (MainComponent::currentPage, expected);
        EXPECT_EQ (visiblePage(), expected);
    }
    EXPECT_FALSE (wizard->backButton.isVisible());
}

TEST_F (WizardTest, backFromTheTrackPageOfAnEncodeReturnsToTheFirstPage)
{
    click (wizard->projectPage->encodeButton);
    next();
    next();
    ASSERT_EQ (MainComponent::currentPage, 5);

    back();
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_TRUE (wizard->backButton.isVisible());

    back();
    EXPECT_EQ (MainComponent::currentPage, 0);
    EXPECT_EQ (visiblePage(), 0);
    EXPECT_FALSE (wizard->backButton.isVisible());

    // The type can be changed again here.
    click (wizard->projectPage->ripButton);
    EXPECT_EQ (project().projectType, ripProject);
    next();
    EXPECT_EQ (MainComponent::currentPage, 1);
}

TEST_F (WizardTest, backAndNextDoNothingWhileACaptureRuns)
{
    for (int i = 0; i < 3; ++i)
        next();
    ASSERT_EQ (MainComponent::currentPage, 3);

    project().captureRunning = true;
    next();
    back();
    EXPECT_EQ (MainComponent::currentPage, 3);
    EXPECT_EQ (visiblePage(), 3);
    EXPECT_TRUE (dialogs.alerts().empty());

    click (wizard->helpButton);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Help");

    project().captureRunning = false;
    next();
    EXPECT_EQ (MainComponent::currentPage, 4);
}

TEST_F (WizardTest, onceARipHasStartedBackStaysHiddenOnTheAlbumPage)
{
    next();
    next();
    ASSERT_EQ (MainComponent::currentPage, 2);
    EXPECT_TRUE (wizard->backButton.isVisible());

    project().captureStarted = true;
    wizard->updateButtons();
    EXPECT_FALSE (wizard->backButton.isVisible());

    // After a new capture the wizard comes back here with the flag still set.
    next();
    back();
    EXPECT_EQ (MainComponent::currentPage, 2);
    EXPECT_FALSE (wizard->backButton.isVisible());
}

TEST_F (WizardTest, aRepaintAloneRestoresAStaleNextLabelAndBackVisibility)
{
    click (wizard->projectPage->encodeButton);
    next();
    next();
    ASSERT_EQ (MainComponent::currentPage, 5);

    wizard->nextButton.setButtonText ("stale");
    wizard->backButton.setVisible (false);
    window.setName ("stale");

    wizard->createComponentSnapshot (wizard->getLocalBounds());

    EXPECT_EQ (wizard->nextButton.getButtonText(), "Finish");
    EXPECT_TRUE (wizard->backButton.isVisible());
    EXPECT_EQ (title(), "Groovesmith -- Page 6 / 7");
}

TEST_F (WizardTest, paintDrawsTheLineAboveTheButtons)
{
    // A one-pixel line on y = 340 covers half of rows 339 and 340.
    const auto image = wizard->createComponentSnapshot (wizard->getLocalBounds());
    for (int x : { 20, 200, 400 })
    {
        SCOPED_TRACE (x);
        EXPECT_EQ (image.getPixelAt (x, 339).getBrightness(), 0.0f);
        EXPECT_EQ (image.getPixelAt (x, 340).getBrightness(), 0.0f);
        EXPECT_NEAR (image.getPixelAt (x, 339).getAlpha() + image.getPixelAt (x, 340).getAlpha(), 255, 3);
        EXPECT_EQ (image.getPixelAt (x, 337).getAlpha(), 0);
        EXPECT_EQ (image.getPixelAt (x, 342).getAlpha(), 0);
    }
}

TEST_F (WizardTest, refreshFromAPageRetitlesTheWindowAndOtherMessagesAreIgnored)
{
    // The track page moves the wizard itself, then asks for a refresh.
    MainComponent::pages[0]->setVisible (false);
    MainComponent::currentPage = 4;
    MainComponent::pages[4]->setVisible (true);

    wizard->page2->sendActionMessage ("something else");
    runMessageLoopFor (20);
    EXPECT_EQ (title(), "Groovesmith -- Page 1 / 7");

    wizard->page2->sendActionMessage ("REFRESH");
    runMessageLoopFor (20);
    EXPECT_EQ (title(), "Groovesmith -- Page 5 / 7");
}

TEST_F (WizardTest, nextOnTheLastPageEndsTheProgramWithoutAQuestion)
{
    for (int i = 0; i < 6; ++i)
        next();
    ASSERT_EQ (MainComponent::currentPage, 6);
    next();
    EXPECT_EQ (quitCount, 1);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (WizardTest, everyDragIsWelcomeOnEveryPage)
{
    for (int page = 0; page < 7; ++page)
    {
        MainComponent::currentPage = page;
        EXPECT_TRUE (wizard->isInterestedInFileDrag ({ "/tmp/a.wav" }));
        EXPECT_TRUE (wizard->isInterestedInFileDrag ({}));
    }
    MainComponent::currentPage = 0;
}
