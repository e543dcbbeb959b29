#pragma once

#include "app/MouseHoverDetector.h"

#include <memory>

class Project;

/** The address behind the banner's hot zone: the maker's home page. */
extern const char* const homePageAddress;

/**
    Base of the wizard's pages: the maker's banner across the top, with a hot zone in its left
    part that shows a pointing hand after the mouse rests there and opens the home page on a
    click.
*/
class Page : public juce::Component, public MouseHoverDetector
{
public:
    Page (const juce::String& name, Project* project);
    ~Page() override;

    void mouseDown (const juce::MouseEvent& e) override;
    void paint (juce::Graphics& g) override;
    void resized() override = 0;

    void mouseHovered (int x, int y) override;
    void mouseMovedAfterHover() override {}

    /** The rectangle of the banner that leads to the home page, in the page's coordinates. */
    static bool isInHotZone (juce::Point<int> position) { return position.x < 201 && position.y < 61; }

    /** The banner image, or null when it could not be decoded. */
    const juce::Image* getBanner() const { return banner.get(); }

protected:
    std::unique_ptr<juce::Image> banner;
    Project* project;
};
