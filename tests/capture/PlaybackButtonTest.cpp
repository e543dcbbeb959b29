// The two-state button of the capture page: a text button with an orange veil while active.
#include "MeterImageSupport.h"

#include "capture/TwoStateButton.h"

using namespace meter_test;

TEST (TwoStateButton, startsInactiveWithItsText)
{
    TwoStateButton button ("Capture");
    EXPECT_FALSE (button.isActive());
    EXPECT_EQ (button.getButtonText(), "Capture");
    EXPECT_EQ (button.getOriginalText(), "Capture");

    button.setActive (true);
    EXPECT_TRUE (button.isActive());
    button.setButtonText ("Other");
    EXPECT_EQ (button.getOriginalText(), "Capture");
}

TEST (TwoStateButton, inactiveItLooksLikeAPlainTextButton)
{
    TwoStateButton button ("Test");
    juce::TextButton plain ("Test");
    button.setBounds (26, 400, 40, 25);
    plain.setBounds (26, 400, 40, 25);

    const auto mine = snapshotOf (button);
    const auto theirs = snapshotOf (plain);
    for (int y = 0; y < 25; ++y)
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ (mine.getPixelAt (x, y), theirs.getPixelAt (x, y)) << x << "," << y;
}

TEST (TwoStateButton, activeItIsVeiledInOrangeAtOneFifth)
{
    TwoStateButton button ("Capture");
    button.setBounds (140, 180, 80, 50);
    const auto inactive = snapshotOf (button);

    button.setActive (true);
    const auto active = snapshotOf (button);

    // Away from the text and the rounded ends, each pixel is the plain one under orange at 0.2.
    for (const auto point :
         { juce::Point<int> (40, 6), juce::Point<int> (40, 44), juce::Point<int> (30, 10), juce::Point<int> (50, 40) })
        EXPECT_TRUE (pixelIs (active, point.x, point.y,
                              over (inactive.getPixelAt (point.x, point.y), juce::Colours::orange.withAlpha (0.2f)),
                              2));

    // The veil is a rounded rectangle: the far corners keep their plain look.
    EXPECT_EQ (active.getPixelAt (0, 0), inactive.getPixelAt (0, 0));
    EXPECT_EQ (active.getPixelAt (79, 49), inactive.getPixelAt (79, 49));

    button.setActive (false);
    EXPECT_EQ (snapshotOf (button).getPixelAt (40, 6), inactive.getPixelAt (40, 6));
}
