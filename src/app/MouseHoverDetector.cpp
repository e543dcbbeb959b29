#include "app/MouseHoverDetector.h"

MouseHoverDetector::MouseHoverDetector (int hoverTime)
    : hoverTimeMillisecs (hoverTime)
{
}

MouseHoverDetector::~MouseHoverDetector()
{
    setHoverComponent (nullptr);
}

void MouseHoverDetector::setHoverComponent (juce::Component* newSourceComponent)
{
    if (source == newSourceComponent)
        return;

    internal.stopTimer();
    hasJustHovered = false;

    if (source != nullptr)
        source->removeMouseListener (&internal);

    source = newSourceComponent;

    if (source != nullptr)
        source->addMouseListener (&internal, false);
}

void MouseHoverDetector::Internal::restart (const juce::MouseEvent& e)
{
    if (owner.source == nullptr)
        return;

    owner.lastPosition = e.getEventRelativeTo (owner.source).getPosition();
    stopTimer();

    if (owner.hasJustHovered)
    {
        owner.hasJustHovered = false;
        owner.mouseMovedAfterHover();
    }

    if (owner.source->isMouseOver (true) || owner.source->getLocalBounds().contains (owner.lastPosition))
        startTimer (owner.hoverTimeMillisecs);
}

void MouseHoverDetector::Internal::timerCallback()
{
    stopTimer();

    if (owner.source != nullptr)
    {
        owner.hasJustHovered = true;
        owner.mouseHovered (owner.lastPosition.x, owner.lastPosition.y);
    }
}
