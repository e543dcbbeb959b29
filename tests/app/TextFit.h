#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/**
    Lays out the text of every visible label, button, toggle and group frame below a component as
    the look and feel draws it, and tells which texts do not wholly fit their control: letters cut
    off at the end ("..."), lines that run out of the control's height, letters made smaller to fit
    more lines, and texts that run into each other. A text that the framework squeezes a little to
    fit still fits; how much it is squeezed is reported apart.
*/
namespace TextFit
{
struct Report
{
    juce::StringArray cutOff;      // "<component>: <text>"
    juce::StringArray squeezed;    // "<component>: <text> (<scale>)"
    juce::StringArray shrunk;      // letters made smaller than the control's font
    juce::StringArray overlapping; // two text controls of one parent that cover each other
};

inline juce::String describe (const juce::Component& component, const juce::String& text)
{
    auto name = component.getName().isNotEmpty() ? component.getName() : juce::String (typeid (component).name());
    const auto where = name + " " + component.getBounds().toString();
    return text.isEmpty() ? where : where + ": \"" + text.replace ("\n", "\\n") + "\"";
}

/** Lays `text` out as Graphics::drawFittedText does and checks that nothing is lost. The result
    is where the letters go, in the component's own coordinates. */
inline juce::Rectangle<float> check (const juce::Component& component, const juce::Font& font, const juce::String& text,
                                     juce::Rectangle<float> area, juce::Justification justification, int maximumLines,
                                     float minimumHorizontalScale, Report& report)
{
    if (text.trim().isEmpty())
        return {};

    juce::GlyphArrangement glyphs;
    glyphs.addFittedText (font, text, area.getX(), area.getY(), area.getWidth(), area.getHeight(), justification,
                          maximumLines, minimumHorizontalScale);

    // What is left of the text, and how small the framework made its letters to fit it on more lines.
    juce::String shown;
    float smallestHeight = font.getHeight();
    for (int i = 0; i < glyphs.getNumGlyphs(); ++i)
    {
        const auto& glyph = glyphs.getGlyph (i);
        smallestHeight = juce::jmin (smallestHeight, glyph.getBounds().getHeight());
        if (! glyph.isWhitespace())
            shown << juce::String::charToString (glyph.getCharacter());
    }

    // The letters' ink, not their line boxes: a "-70" has no descender to run into a button below.
    juce::Path outlines;
    glyphs.createPath (outlines);
    const auto ink = outlines.getBounds();

    // The component clips what it paints to its bounds.
    const auto wanted = text.removeCharacters (" \t\r\n");
    if (shown != wanted || ! component.getLocalBounds().toFloat().expanded (0.5f).contains (ink))
    {
        report.cutOff.add (describe (component, text));
        return ink;
    }

    if (smallestHeight < font.getHeight() - 0.5f)
        report.shrunk.add (describe (component, text) + " (" + juce::String (smallestHeight / font.getHeight(), 2) +
                           ")");

    // One line wider than its space is squeezed: by how much.
    if (! text.containsAnyOf ("\r\n"))
    {
        const auto natural = font.getStringWidthFloat (text.trim());
        const bool oneLine = glyphs.getBoundingBox (0, -1, false).getHeight() < font.getHeight() * 1.5f;
        if (oneLine && natural > area.getWidth() + 0.5f)
            report.squeezed.add (describe (component, text) + " (" + juce::String (area.getWidth() / natural, 2) + ")");
    }
    return ink;
}

/** Checks the text of one control; the result is what the control paints, in its parent's
    coordinates: its letters, and a button's face or a toggle's tick box. */
inline juce::Rectangle<float> checkComponent (juce::Component& component, Report& report)
{
    const auto position = component.getPosition().toFloat();
    auto& lookAndFeel = component.getLookAndFeel();

    if (auto* label = dynamic_cast<juce::Label*> (&component))
    {
        if (label->isBeingEdited())
            return {};
        const auto font = lookAndFeel.getLabelFont (*label);
        const auto area = lookAndFeel.getLabelBorderSize (*label).subtractedFrom (label->getLocalBounds());
        return check (*label, font, label->getText(), area.toFloat(), label->getJustificationType(),
                      juce::jmax (1, (int) ((float) area.getHeight() / font.getHeight())),
                      label->getMinimumHorizontalScale(), report) +
               position;
    }
    else if (auto* button = dynamic_cast<juce::TextButton*> (&component))
    {
        const auto font = lookAndFeel.getTextButtonFont (*button, button->getHeight());
        const int yIndent = juce::jmin (4, button->proportionOfHeight (0.3f));
        const int cornerSize = juce::jmin (button->getHeight(), button->getWidth()) / 2;
        const int fontHeight = juce::roundToInt (font.getHeight() * 0.6f);
        const int leftIndent = juce::jmin (fontHeight, 2 + cornerSize / (button->isConnectedOnLeft() ? 4 : 2));
        const int rightIndent = juce::jmin (fontHeight, 2 + cornerSize / (button->isConnectedOnRight() ? 4 : 2));
        const juce::Rectangle<int> area (leftIndent, yIndent, button->getWidth() - leftIndent - rightIndent,
                                         button->getHeight() - yIndent * 2);
        check (*button, font, button->getButtonText(), area.toFloat(), juce::Justification::centred, 2, 0.0f, report);
        return button->getBounds().toFloat();
    }
    else if (auto* toggle = dynamic_cast<juce::ToggleButton*> (&component))
    {
        const auto fontSize = juce::jmin (15.0f, (float) toggle->getHeight() * 0.75f);
        const auto tickWidth = fontSize * 1.1f;
        const auto area =
            toggle->getLocalBounds().withTrimmedLeft (juce::roundToInt (tickWidth) + 10).withTrimmedRight (2);
        const auto letters = check (*toggle, juce::Font (fontSize), toggle->getButtonText(), area.toFloat(),
                                    juce::Justification::centredLeft, 10, 0.0f, report);
        const juce::Rectangle<float> tick (4.0f, ((float) toggle->getHeight() - tickWidth) * 0.5f, tickWidth,
                                           tickWidth);
        return (letters.isEmpty() ? tick : letters.getUnion (tick)) + position;
    }
    else if (auto* group = dynamic_cast<juce::GroupComponent*> (&component))
    {
        // The frame leaves its text the width between its rounded corners.
        const juce::Font font (15.0f);
        const auto width = juce::jmax (0.0f, (float) group->getWidth() - 6.0f - 10.0f - 8.0f);
        check (*group, font, group->getText(), { 0.0f, 0.0f, width, 15.0f }, juce::Justification::centred, 1, 0.0f,
               report);
    }
    return {};
}

/** Every visible text control below `root`, and `root` itself, shown or not. */
inline Report check (juce::Component& root)
{
    Report report;
    std::function<void (juce::Component&)> visit = [&] (juce::Component& component)
    {
        // What the children paint must not run into each other: a toggle that widens to fit a
        // long text, say, over the next one.
        std::vector<std::pair<juce::Component*, juce::Rectangle<float>>> painted;
        for (auto* child : component.getChildren())
        {
            if (! child->isVisible())
                continue;
            const auto ink = checkComponent (*child, report);
            if (! ink.isEmpty())
                painted.emplace_back (child, ink);
            visit (*child);
        }

        for (size_t i = 0; i < painted.size(); ++i)
            for (size_t j = i + 1; j < painted.size(); ++j)
                if (painted[i].second.intersects (painted[j].second))
                    report.overlapping.add (describe (*painted[i].first, {}) + " and " +
                                            describe (*painted[j].first, {}));
    };
    checkComponent (root, report);
    visit (root);
    return report;
}
} // namespace TextFit
