#include "app/ProjectPage.h"
#include "support/WizardFixture.h"

TEST_F (WizardTest, everyPageShowsTheBannerAtItsTopLeft)
{
    for (auto* page : MainComponent::pages)
    {
        SCOPED_TRACE (page->getName().toStdString());
        ASSERT_NE (page->getBanner(), nullptr);
        EXPECT_EQ (page->getBanner()->getWidth(), 481);
        EXPECT_EQ (page->getBanner()->getHeight(), 60);
        EXPECT_EQ (page->getHoverTimeMillisecs(), 50);
    }

    auto& page = *wizard->projectPage;
    const auto image = page.createComponentSnapshot (page.getLocalBounds());
    const auto& banner = *page.getBanner();
    for (auto point :
         { juce::Point<int> (5, 5), juce::Point<int> (32, 30), juce::Point<int> (120, 20), juce::Point<int> (430, 55) })
        EXPECT_EQ (image.getPixelAt (point.x, point.y).getARGB(), banner.getPixelAt (point.x, point.y).getARGB());
}

TEST_F (WizardTest, thePointingHandShowsInsideTheHotZoneOnly)
{
    auto& page = *wizard->projectPage;
    page.mouseHovered (200, 60);
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::PointingHandCursor));
    page.mouseHovered (201, 60);
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::NormalCursor));
    page.mouseHovered (0, 0);
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::PointingHandCursor));
    page.mouseHovered (200, 61);
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::NormalCursor));
}

TEST_F (WizardTest, aClickInTheHotZoneOpensTheHomePageAndOutsideItDoesNothing)
{
    auto& page = *wizard->projectPage;
    const auto clickAt = [&page] (int x, int y)
    {
        const juce::MouseEvent event (juce::Desktop::getInstance().getMainMouseSource(), { (float) x, (float) y },
                                      juce::ModifierKeys::leftButtonModifier, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, &page,
                                      &page, juce::Time::getCurrentTime(), { (float) x, (float) y },
                                      juce::Time::getCurrentTime(), 1, false);
        page.mouseDown (event);
    };

    clickAt (201, 10);
    EXPECT_TRUE (dialogs.openedUrls().isEmpty());

    clickAt (200, 60);
    ASSERT_EQ (dialogs.openedUrls().size(), 1);
    EXPECT_EQ (dialogs.openedUrls()[0], homePageAddress);
}

TEST (Banner, restingTheRealMouseOnTheHotZoneShowsTheHand)
{
    FakeDialogs dialogs;
    juce::DocumentWindow window ("Groove Smith hover", juce::Colours::lightgrey, 0, true);
    window.setUsingNativeTitleBar (true);
    auto* wizard = new MainComponent (&window);
    window.setContentOwned (wizard, false);
    window.setBounds (100, 100, 435, 380);
    window.setVisible (true);
    window.toFront (true);
    runMessageLoopFor (300);

    auto& page = *wizard->projectPage;

    // The pointer moves as the user's would: through the display server.
    const auto restAt = [&page] (int x, int y)
    {
        const auto target = page.localPointToGlobal (juce::Point<int> (x, y));
        juce::ChildProcess mover;
        ASSERT_TRUE (mover.start ("xdotool mousemove " + juce::String (target.x) + " " + juce::String (target.y)));
        mover.waitForProcessToFinish (5000);
        runMessageLoopFor (300);
    };

    restAt (300, 30);
    EXPECT_TRUE (page.isMouseOver());
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::NormalCursor));

    restAt (150, 30);
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::PointingHandCursor));

    restAt (250, 30);
    EXPECT_EQ (page.getMouseCursor(), juce::MouseCursor (juce::MouseCursor::NormalCursor));
}
