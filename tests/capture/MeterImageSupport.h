#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace meter_test
{
/** What the component draws, pixel for pixel, at its own size. */
inline juce::Image snapshotOf (juce::Component& component)
{
    return component.createComponentSnapshot (component.getLocalBounds(), true, 1.0f);
}

inline juce::String describe (juce::Colour colour)
{
    return juce::String (colour.getRed()) + "," + juce::String (colour.getGreen()) + "," +
           juce::String (colour.getBlue()) + " alpha " + juce::String (colour.getAlpha());
}

/** Each channel within `tolerance` of the expected colour; rounding of the blends differs by a step or two. */
inline ::testing::AssertionResult colourNear (juce::Colour actual, juce::Colour expected, int tolerance)
{
    const auto differs = [tolerance] (int a, int b) { return std::abs (a - b) > tolerance; };

    if (differs (actual.getRed(), expected.getRed()) || differs (actual.getGreen(), expected.getGreen()) ||
        differs (actual.getBlue(), expected.getBlue()) || differs (actual.getAlpha(), expected.getAlpha()))
        return ::testing::AssertionFailure() << describe (actual) << " is not " << describe (expected);

    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult pixelIs (const juce::Image& image, int x, int y, juce::Colour expected,
                                           int tolerance = 0)
{
    auto result = colourNear (image.getPixelAt (x, y), expected, tolerance);
    if (! result)
        result << " at " << x << "," << y;
    return result;
}

/** An opaque colour seen through a translucent one. */
inline juce::Colour over (juce::Colour below, juce::Colour above)
{
    return below.overlaidWith (above);
}
} // namespace meter_test
