#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

/**
    The moving waveform of the capture page: the incoming samples are summed into columns of
    128, and the newest columns are drawn at the right edge as red lines round the middle.
*/
class WavFormComponent : public juce::Component, public juce::ChangeBroadcaster
{
public:
    WavFormComponent();
    ~WavFormComponent() override;

    /** Adds one sample to the column being summed, and repaints every thousand samples. */
    void addSample (float value);

    /** Empties the columns; where the next column is written does not change. */
    void clear();

    void paint (juce::Graphics& g) override;

    /** The column stored at an index of the ring, 0 to 2047. */
    float getColumn (int index) const { return columns[(size_t) juce::jlimit (0, size - 1, index)]; }

    /** How many columns have been written since construction. */
    int getWriteIndex() const { return writeIndex; }

    /** How many samples the column being summed holds. */
    int getCount() const { return count; }

    /** Samples added since the last repaint, over every waveform of the program. */
    static int samplesSinceRepaint();

    static constexpr int numColumns = 2048;

private:
    std::unique_ptr<float[]> columns;
    float accumulator = 0.0f;
    int writeIndex = 0;
    int size = numColumns;
    int count = 0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WavFormComponent)
};
