#pragma once

#include "capture/MeterImageSupport.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <gtest/gtest.h>

/**
    Pixels of a wizard page as the window shows it, for what the drawing rules fix: the banner
    at the top left, the line above the buttons, and controls at their places.
*/
namespace page_image
{
using meter_test::colourNear;
using meter_test::describe;
using meter_test::over;
using meter_test::pixelIs;

/** The window's background, which shows wherever nothing is drawn. */
const juce::Colour windowBackground = juce::Colours::lightgrey;

/** The line above the buttons, black drawn one pixel wide across two rows: half of it on each. */
const juce::Colour footLine = over (windowBackground, juce::Colours::black.withAlpha (0.5f));

/** The wizard as the window shows it: drawn at its own size over the window's background. */
inline juce::Image windowImage (juce::Component& wizard)
{
    const auto shot = wizard.createComponentSnapshot (wizard.getLocalBounds(), true, 1.0f);
    juce::Image image (juce::Image::RGB, shot.getWidth(), shot.getHeight(), true);
    juce::Graphics g (image);
    g.fillAll (windowBackground);
    g.drawImageAt (shot, 0, 0);
    return image;
}

/** The banner, pixel for pixel from the top left corner, as far as the window is wide. */
inline ::testing::AssertionResult showsBanner (const juce::Image& shot, const juce::Image& banner)
{
    for (int y = 0; y < juce::jmin (banner.getHeight(), shot.getHeight()); ++y)
        for (int x = 0; x < juce::jmin (banner.getWidth(), shot.getWidth()); ++x)
            if (auto same = pixelIs (shot, x, y, banner.getPixelAt (x, y)); ! same)
                return same << " (the banner's own pixel)";

    return ::testing::AssertionSuccess();
}

/** Every pixel of the area is of the colour, within `tolerance`. */
inline ::testing::AssertionResult filledWith (const juce::Image& shot, juce::Rectangle<int> area, juce::Colour colour,
                                              int tolerance = 0)
{
    for (int y = area.getY(); y < area.getBottom(); ++y)
        for (int x = area.getX(); x < area.getRight(); ++x)
            if (auto same = pixelIs (shot, x, y, colour, tolerance); ! same)
                return same;

    return ::testing::AssertionSuccess();
}

/** The line 40 pixels above the window's foot, from its first column to its last, with the
    background just above and below it. */
inline ::testing::AssertionResult showsFootLine (const juce::Image& shot)
{
    const int row = shot.getHeight() - 40;
    const juce::Rectangle<int> line (0, row - 1, shot.getWidth(), 2);

    if (auto drawn = filledWith (shot, line, footLine, 3); ! drawn)
        return drawn << " (the line)";
    if (auto above = filledWith (shot, line.translated (0, -2), windowBackground); ! above)
        return above << " (above the line)";
    if (auto below = filledWith (shot, line.translated (0, 2).withHeight (1), windowBackground); ! below)
        return below << " (below the line)";

    return ::testing::AssertionSuccess();
}

/** The columns in which the area holds ink (a pixel darker than `darkerThan` in each channel):
    the first and the last, or an empty range when there is none. */
inline juce::Range<int> inkColumns (const juce::Image& shot, juce::Rectangle<int> area, int darkerThan = 100)
{
    int first = -1, last = -1;
    for (int x = area.getX(); x < area.getRight(); ++x)
    {
        for (int y = area.getY(); y < area.getBottom(); ++y)
        {
            const auto pixel = shot.getPixelAt (x, y);
            if (pixel.getRed() < darkerThan && pixel.getGreen() < darkerThan && pixel.getBlue() < darkerThan)
            {
                if (first < 0)
                    first = x;
                last = x;
                break;
            }
        }
    }
    return first < 0 ? juce::Range<int>() : juce::Range<int> (first, last + 1);
}
} // namespace page_image
