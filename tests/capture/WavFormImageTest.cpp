// The capture page's waveform: columns of 128-sample averages, drawn newest at the right.
#include "MeterImageSupport.h"
#include "support/TestHelpers.h"

#include "capture/WavFormComponent.h"

using namespace meter_test;

namespace
{
const juce::Colour background = juce::Colours::lightgrey;
const juce::Colour red = juce::Colours::red;

void addColumn (WavFormComponent& waveform, float value)
{
    for (int i = 0; i < 129; ++i)
        waveform.addSample (i % 2 == 0 ? value : -value);
}

/** Rows of one pixel column that are fully red. */
juce::Array<int> redRows (const juce::Image& image, int x)
{
    juce::Array<int> rows;
    for (int y = 0; y < image.getHeight(); ++y)
        if (image.getPixelAt (x, y) == red)
            rows.add (y);
    return rows;
}

bool columnIsEmpty (const juce::Image& image, int x)
{
    for (int y = 0; y < image.getHeight(); ++y)
        if (image.getPixelAt (x, y) != background)
            return false;
    return true;
}

/** The waveform as the capture page sizes it. */
struct Wave
{
    Wave() { waveform.setBounds (110, 280, 300, 40); }
    WavFormComponent waveform;
};
} // namespace

TEST (WavForm, aColumnClosesAtThe129thSampleScaledByOne128th)
{
    WavFormComponent waveform;
    for (int i = 0; i < 128; ++i)
        waveform.addSample (i % 2 == 0 ? 1.0f : -1.0f);
    EXPECT_EQ (waveform.getWriteIndex(), 0);
    EXPECT_EQ (waveform.getCount(), 128);
    EXPECT_EQ (waveform.getColumn (0), 0.0f);

    waveform.addSample (1.0f);
    EXPECT_EQ (waveform.getWriteIndex(), 1);
    EXPECT_EQ (waveform.getCount(), 0);
    // A constant signal of 1.0 gives 129/128.
    EXPECT_EQ (waveform.getColumn (0), 1.0078125f);

    addColumn (waveform, 0.5f);
    EXPECT_EQ (waveform.getWriteIndex(), 2);
    EXPECT_EQ (waveform.getColumn (1), 0.50390625f);
}

TEST (WavForm, theColumnsRunRoundARingOf2048)
{
    WavFormComponent waveform;
    for (int column = 0; column < 2049; ++column)
        addColumn (waveform, column == 2048 ? 0.25f : 0.5f);

    EXPECT_EQ (waveform.getWriteIndex(), 2049); // counted on, never wrapped
    EXPECT_EQ (waveform.getColumn (0), 0.251953125f);
    EXPECT_EQ (waveform.getColumn (1), 0.50390625f);
}

TEST (WavForm, aColumnIsARedLineRoundTheMiddleOfItsValuesHeight)
{
    Wave wave;
    addColumn (wave.waveform, 0.5f); // 0.50390625: 10.08 pixels each side of 20
    const auto image = snapshotOf (wave.waveform);

    const auto rows = redRows (image, 299);
    ASSERT_EQ (rows.size(), 20);
    EXPECT_EQ (rows.getFirst(), 10);
    EXPECT_EQ (rows.getLast(), 29);
    // The ends are antialiased, and beyond them is the background.
    EXPECT_NE (image.getPixelAt (299, 9), background);
    EXPECT_NE (image.getPixelAt (299, 30), background);
    EXPECT_TRUE (pixelIs (image, 299, 8, background));
    EXPECT_TRUE (pixelIs (image, 299, 31, background));

    // The columns not written yet draw nothing.
    for (int x = 0; x < 299; ++x)
        ASSERT_TRUE (columnIsEmpty (image, x)) << x;
}

TEST (WavForm, theNewestColumnIsAtTheRightEdge)
{
    Wave wave;
    addColumn (wave.waveform, 0.25f); // 5.04 pixels each side
    addColumn (wave.waveform, 0.75f); // 15.12 pixels each side
    addColumn (wave.waveform, 0.5f);
    const auto image = snapshotOf (wave.waveform);

    EXPECT_EQ (redRows (image, 299).size(), 20);
    EXPECT_EQ (redRows (image, 298).size(), 30);
    EXPECT_EQ (redRows (image, 297).size(), 10);
    EXPECT_EQ (redRows (image, 297).getFirst(), 15);
    EXPECT_TRUE (columnIsEmpty (image, 296));
}

TEST (WavForm, aFullScaleColumnFillsTheWholeHeight)
{
    Wave wave;
    addColumn (wave.waveform, 1.0f);
    EXPECT_EQ (redRows (snapshotOf (wave.waveform), 299).size(), 40);
}

TEST (WavForm, columnsAtOrBelowOneHundredthDrawNothing)
{
    Wave wave;
    // Exactly 0.01: 128 silent samples and one of 1.28.
    for (int i = 0; i < 128; ++i)
        wave.waveform.addSample (0.0f);
    wave.waveform.addSample (1.28f);
    ASSERT_EQ (wave.waveform.getColumn (0), 0.01f);
    addColumn (wave.waveform, 0.009f);
    addColumn (wave.waveform, 0.0105f); // just above

    const auto image = snapshotOf (wave.waveform);
    EXPECT_TRUE (columnIsEmpty (image, 297));
    EXPECT_TRUE (columnIsEmpty (image, 298));
    EXPECT_FALSE (columnIsEmpty (image, 299));
    EXPECT_NE (image.getPixelAt (299, 20), background);
}

TEST (WavForm, aWidthBeyondTheRingShowsOldColumnsAgainOnTheLeft)
{
    WavFormComponent waveform;
    waveform.setBounds (0, 0, 2100, 40);
    addColumn (waveform, 0.25f);
    addColumn (waveform, 0.75f);
    addColumn (waveform, 0.5f);
    const auto image = snapshotOf (waveform);

    for (int offset = 0; offset < 3; ++offset)
    {
        const int right = 2099 - offset;
        const int left = right - 2048;
        EXPECT_FALSE (columnIsEmpty (image, right));
        EXPECT_EQ (redRows (image, left), redRows (image, right)) << left;
    }
    EXPECT_TRUE (columnIsEmpty (image, 2096));
    EXPECT_TRUE (columnIsEmpty (image, 2096 - 2048));
    EXPECT_TRUE (columnIsEmpty (image, 0));
}

TEST (WavForm, clearEmptiesTheColumnsButKeepsTheirPlace)
{
    Wave wave;
    addColumn (wave.waveform, 0.5f);
    addColumn (wave.waveform, 0.5f);
    for (int i = 0; i < 5; ++i)
        wave.waveform.addSample (0.5f);

    wave.waveform.clear();
    EXPECT_EQ (wave.waveform.getColumn (0), 0.0f);
    EXPECT_EQ (wave.waveform.getColumn (1), 0.0f);
    EXPECT_EQ (wave.waveform.getWriteIndex(), 2);
    EXPECT_EQ (wave.waveform.getCount(), 5);

    const auto image = snapshotOf (wave.waveform);
    for (int x = 0; x < 300; ++x)
        ASSERT_TRUE (columnIsEmpty (image, x)) << x;

    // The next column is written after the old ones, and the sum already begun goes into it.
    for (int i = 0; i < 124; ++i)
        wave.waveform.addSample (0.5f);
    EXPECT_EQ (wave.waveform.getWriteIndex(), 3);
    EXPECT_EQ (wave.waveform.getColumn (2), 0.50390625f);
}

TEST (WavForm, aRepaintComesEveryThousandSamplesCountedOverEveryWaveform)
{
    const int before = WavFormComponent::samplesSinceRepaint();
    WavFormComponent first, second;
    for (int i = before; i < 999; ++i)
        first.addSample (0.1f);
    EXPECT_EQ (WavFormComponent::samplesSinceRepaint(), 999);

    second.addSample (0.1f);
    EXPECT_EQ (WavFormComponent::samplesSinceRepaint(), 0);

    for (int i = 0; i < 1500; ++i)
        first.addSample (0.1f);
    EXPECT_EQ (WavFormComponent::samplesSinceRepaint(), 500);
}

TEST (WavForm, theThousandthSampleRepaintsTheWaveformOnScreen)
{
    struct CountingWaveform : public WavFormComponent
    {
        void paint (juce::Graphics& g) override
        {
            ++paints;
            WavFormComponent::paint (g);
        }
        int paints = 0;
    };

    CountingWaveform waveform;
    waveform.setBounds (110, 280, 300, 40);
    waveform.setOpaque (true);
    waveform.addToDesktop (0);
    waveform.setVisible (true);
    runMessageLoopFor (200);

    while (WavFormComponent::samplesSinceRepaint() != 999)
        waveform.addSample (0.5f);
    waveform.paints = 0;
    waveform.addSample (0.5f);

    for (int i = 0; i < 100 && waveform.paints == 0; ++i)
        runMessageLoopFor (50);
    EXPECT_GT (waveform.paints, 0);
    waveform.removeFromDesktop();
}
