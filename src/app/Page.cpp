#include "app/Page.h"

#include "BinaryData.h"
#include "project/Dialogs.h"

const char* const homePageAddress = "https://tonewell.org/groovesmith";

Page::Page (const juce::String& name, Project* projectToUse)
    : juce::Component (name),
      MouseHoverDetector (20),
      project (projectToUse)
{
    setHoverTimeMillisecs (50);

    const auto image = juce::ImageCache::getFromMemory (BinaryData::banner_jpg, BinaryData::banner_jpgSize);
    if (image.isValid())
        banner = std::make_unique<juce::Image> (image);

    setHoverComponent (this);
}

Page::~Page()
{
    setHoverComponent (nullptr);
}

void Page::mouseDown (const juce::MouseEvent& e)
{
    if (isInHotZone (e.getEventRelativeTo (this).getPosition()))
        Dialogs::get().openUrl (juce::URL (homePageAddress));
}

void Page::paint (juce::Graphics& g)
{
    if (banner != nullptr)
        g.drawImageAt (*banner, 0, 0);
}

void Page::mouseHovered (int x, int y)
{
    setMouseCursor (isInHotZone ({ x, y }) ? juce::MouseCursor::PointingHandCursor : juce::MouseCursor::NormalCursor);
}
