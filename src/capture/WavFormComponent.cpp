#include "capture/WavFormComponent.h"

namespace
{
// Samples added since the last repaint; one count for the whole program.
int samplesToRepaint = 0;

constexpr int samplesPerColumn = 128;
constexpr int samplesBetweenRepaints = 1000;
constexpr float columnScale = 0.0078125f; // 1/128
constexpr float silentColumn = 0.01f;
} // namespace

WavFormComponent::WavFormComponent()
    : columns (new float[numColumns])
{
    std::fill (columns.get(), columns.get() + numColumns, 0.0f);
}

WavFormComponent::~WavFormComponent() = default;

int WavFormComponent::samplesSinceRepaint()
{
    return samplesToRepaint;
}

void WavFormComponent::addSample (float value)
{
    accumulator += std::abs (value);
    ++count;

    // A column closes at its 129th sample but is scaled as if it held 128.
    if (count > samplesPerColumn)
    {
        columns[(size_t) (writeIndex % size)] = accumulator * columnScale;
        ++writeIndex;
        accumulator = 0.0f;
        count = 0;
    }

    if (++samplesToRepaint >= samplesBetweenRepaints)
    {
        repaint();
        samplesToRepaint = 0;
    }
}

void WavFormComponent::clear()
{
    std::fill (columns.get(), columns.get() + size, 0.0f);
}

void WavFormComponent::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colours::lightgrey);
    g.setColour (juce::Colours::red);

    const int width = getWidth();
    const float centre = (float) getHeight() / 2.0f;

    // The newest column sits at the right edge; wider than the ring, older columns come round again.
    for (int x = width - 1; x >= 0; --x)
    {
        const int index = ((writeIndex - (width - x)) % size + size) % size;
        const float value = columns[(size_t) index];

        if (value > silentColumn)
            g.drawVerticalLine (x, centre - value * centre, centre + value * centre);
    }
}
