#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/**
    Tells a subclass when the mouse has rested on a component for a while, and when it moves
    again afterwards (JUCE dropped its own class of this name).
*/
class MouseHoverDetector
{
public:
    explicit MouseHoverDetector (int hoverTimeMillisecs = 400);
    virtual ~MouseHoverDetector();

    void setHoverTimeMillisecs (int newTimeInMillisecs) { hoverTimeMillisecs = newTimeInMillisecs; }
    int getHoverTimeMillisecs() const { return hoverTimeMillisecs; }
    void setHoverComponent (juce::Component* newSourceComponent);

protected:
    /** The mouse has rested at (x, y), relative to the hover component. */
    virtual void mouseHovered (int x, int y) = 0;

    /** The mouse moved after a hover was reported. */
    virtual void mouseMovedAfterHover() = 0;

private:
    class Internal : public juce::MouseListener, public juce::Timer
    {
    public:
        explicit Internal (MouseHoverDetector& owner)
            : owner (owner)
        {
        }

        void timerCallback() override;
        void mouseEnter (const juce::MouseEvent& e) override { restart (e); }
        void mouseMove (const juce::MouseEvent& e) override { restart (e); }
        void mouseExit (const juce::MouseEvent& e) override { restart (e); }
        void mouseDown (const juce::MouseEvent& e) override { restart (e); }
        void mouseUp (const juce::MouseEvent& e) override { restart (e); }

    private:
        void restart (const juce::MouseEvent& e);

        MouseHoverDetector& owner;
    };

    Internal internal{ *this };
    juce::Component* source = nullptr;
    int hoverTimeMillisecs;
    bool hasJustHovered = false;
    juce::Point<int> lastPosition;
};
