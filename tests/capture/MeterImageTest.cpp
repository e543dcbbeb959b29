// What the level bars and the saturation lamp draw, pixel for pixel.
#include "MeterImageSupport.h"

#include "capture/MeterComponent.h"
#include "capture/TooHighMeterComponent.h"

using namespace meter_test;

namespace
{
const juce::Colour background = juce::Colours::lightgrey;
const juce::Colour shade (100, 100, 100);
const juce::Colour light = juce::Colours::white;
// Where the gradient is held at either end: red above y = 30, orange below y = 100.
const juce::Colour barTop = over (background, juce::Colours::red.withAlpha (0.6f));
const juce::Colour barBottom = over (background, juce::Colours::orange.withAlpha (0.4f));

/** A bar as the capture page sizes it. */
struct Bar
{
    explicit Bar (float level)
    {
        meter.setBounds (20, 80, 15, 195);
        meter.setLevel (level);
    }

    juce::Image draw() { return snapshotOf (meter); }

    MeterComponent meter;
};
} // namespace

TEST (MeterImage, theBarsTopRowIsTheLevelsShareOfTheHeightTruncated)
{
    Bar bar (0.5f);
    const auto image = bar.draw();

    // (1 - 0.5) x 195 = 97.5: the bar begins on row 97.
    for (int x = 2; x <= 12; ++x)
    {
        EXPECT_TRUE (pixelIs (image, x, 96, background));
        EXPECT_FALSE (pixelIs (image, x, 97, background, 10));
        EXPECT_TRUE (pixelIs (image, x, 97, barBottom, 6)); // near the orange end of the gradient
        EXPECT_TRUE (pixelIs (image, x, 150, barBottom, 2));
        EXPECT_TRUE (pixelIs (image, x, 192, barBottom, 2));
    }
    EXPECT_TRUE (pixelIs (image, 7, 50, background));
    EXPECT_TRUE (pixelIs (image, 7, 2, background));
}

TEST (MeterImage, theBarFollowsEachLevel)
{
    // 0.3: 0.7 x 195 = 136.5, so row 136. 0.9: 0.1 x 195 = 19.5, so row 19, in the red part.
    Bar low (0.3f);
    auto image = low.draw();
    EXPECT_TRUE (pixelIs (image, 7, 135, background));
    EXPECT_TRUE (pixelIs (image, 7, 136, barBottom, 2));

    Bar high (0.9f);
    image = high.draw();
    EXPECT_TRUE (pixelIs (image, 7, 18, background));
    EXPECT_TRUE (pixelIs (image, 7, 19, barTop, 2));
    EXPECT_TRUE (pixelIs (image, 7, 29, barTop, 2));
    EXPECT_TRUE (pixelIs (image, 7, 100, barBottom, 2));
    // Between the ends the gradient goes from one to the other.
    const auto middle = image.getPixelAt (7, 65);
    EXPECT_FALSE (colourNear (middle, barTop, 5));
    EXPECT_FALSE (colourNear (middle, barBottom, 5));
    EXPECT_GT (middle.getGreen(), barTop.getGreen());
    EXPECT_LT (middle.getGreen(), barBottom.getGreen());
}

TEST (MeterImage, anEmptyBarShowsOnlyTheWell)
{
    Bar bar (0.0f);
    const auto image = bar.draw();
    for (int y = 2; y <= 192; ++y)
        ASSERT_TRUE (pixelIs (image, 7, y, background));
}

TEST (MeterImage, levelsAboveFullScalePinTheBarAtTheTop)
{
    Bar bar (1.7f);
    EXPECT_EQ (bar.meter.getLevel(), 1.0f);
    const auto image = bar.draw();
    EXPECT_TRUE (pixelIs (image, 7, 2, barTop, 2));
    EXPECT_TRUE (pixelIs (image, 7, 192, barBottom, 2));

    bar.meter.setLevel (-0.4f);
    EXPECT_EQ (bar.meter.getLevel(), 0.0f);
    EXPECT_TRUE (pixelIs (bar.draw(), 7, 192, background));
}

TEST (MeterImage, aTwoPixelBevelIsDarkTopAndLeftAndWhiteBottomAndRight)
{
    Bar bar (0.5f);
    const auto image = bar.draw();

    // The outer ring in full colour along the top and bottom, three quarters down the sides;
    // the inner ring at half that.
    for (int x = 0; x < 15; ++x)
    {
        EXPECT_TRUE (pixelIs (image, x, 0, shade));
        EXPECT_TRUE (pixelIs (image, x, 194, light));
    }
    EXPECT_TRUE (pixelIs (image, 0, 50, over (background, shade.withAlpha (0.75f)), 1));
    EXPECT_TRUE (pixelIs (image, 1, 50, over (background, shade.withAlpha (0.375f)), 2));
    EXPECT_TRUE (pixelIs (image, 7, 1, over (background, shade.withAlpha (0.5f)), 1));
    EXPECT_TRUE (pixelIs (image, 14, 50, over (background, light.withAlpha (0.75f)), 1));
    EXPECT_TRUE (pixelIs (image, 13, 50, over (background, light.withAlpha (0.375f)), 1));

    // Over the bar, the lower bevel lightens the bar's own colour.
    const auto barColour = image.getPixelAt (7, 192);
    EXPECT_TRUE (pixelIs (image, 7, 193, over (barColour, light.withAlpha (0.5f)), 1));
    EXPECT_TRUE (pixelIs (image, 14, 150, over (barColour, light.withAlpha (0.75f)), 1));
    EXPECT_TRUE (pixelIs (image, 0, 150, over (barColour, shade.withAlpha (0.75f)), 1));
}

TEST (MeterImage, aBarStartsEmpty)
{
    MeterComponent meter;
    EXPECT_EQ (meter.getLevel(), 0.0f);
}

TEST (MeterImage, theUnlitLampIsALightGreySquare)
{
    TooHighMeterComponent lamp;
    lamp.setBounds (40, 75, 16, 16);
    EXPECT_FALSE (lamp.isTooHigh());

    const auto image = snapshotOf (lamp);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            ASSERT_TRUE (pixelIs (image, x, y, background));
}

TEST (MeterImage, theLitLampIsARedSphereOfFourteenPixelsAtTheCorner)
{
    TooHighMeterComponent lamp;
    lamp.setBounds (40, 75, 16, 16);
    lamp.setTooHigh (true);
    EXPECT_TRUE (lamp.isTooHigh());

    const auto image = snapshotOf (lamp);

    // Red in the body of the sphere.
    for (const auto point : { juce::Point<int> (7, 5), juce::Point<int> (3, 7), juce::Point<int> (10, 8) })
    {
        const auto colour = image.getPixelAt (point.x, point.y);
        EXPECT_EQ (colour.getAlpha(), 255);
        EXPECT_GT (colour.getRed(), 220);
        EXPECT_LT (colour.getGreen(), 90);
        EXPECT_LT (colour.getBlue(), 90);
    }
    // Its edges touch the top and left of the component, and it stops short of 14.
    EXPECT_GT (image.getPixelAt (7, 0).getAlpha(), 200);
    EXPECT_GT (image.getPixelAt (0, 7).getAlpha(), 200);
    EXPECT_LT (image.getPixelAt (14, 7).getAlpha(), 64);
    EXPECT_LT (image.getPixelAt (7, 14).getAlpha(), 64);
    // No background is drawn round it.
    for (const auto corner : { juce::Point<int> (0, 0), juce::Point<int> (15, 0), juce::Point<int> (0, 15),
                               juce::Point<int> (15, 15), juce::Point<int> (15, 7) })
        EXPECT_EQ (image.getPixelAt (corner.x, corner.y).getAlpha(), 0) << corner.toString();

    lamp.setTooHigh (false);
    EXPECT_TRUE (pixelIs (snapshotOf (lamp), 0, 0, background));
    EXPECT_TRUE (pixelIs (snapshotOf (lamp), 7, 7, background));
}
