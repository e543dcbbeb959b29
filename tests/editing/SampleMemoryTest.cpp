// The memory of a filter run's samples: zeroed, writable, and given back, small or large.
#include "editing/SampleMemory.h"

#include <gtest/gtest.h>

TEST (SampleMemory, smallAndLargeBlocksStartZeroedAndKeepWhatIsWrittenWithOneThreadOrTwo)
{
    SampleMemory memory;

    for (int threads : { 1, 2 })
        for (size_t count : { (size_t) 0, (size_t) 1, (size_t) 1000, (size_t) 3 << 20, (size_t) 5 << 20 })
        {
            float* samples = memory.allocate (count, threads);
            ASSERT_NE (samples, nullptr) << count;
            EXPECT_EQ (memory.get(), samples);

            const size_t usable = std::max<size_t> (count, 1);

            for (size_t i = 0; i < usable; i += 997)
                ASSERT_EQ (samples[i], 0.0f) << count << " " << i;

            EXPECT_EQ (samples[usable - 1], 0.0f);

            for (size_t i = 0; i < usable; ++i)
                samples[i] = (float) (i % 1000) * 0.001f;

            for (size_t i = 0; i < usable; i += 1013)
                ASSERT_EQ (samples[i], (float) (i % 1000) * 0.001f) << count << " " << i;
        }

    memory.free();
    EXPECT_EQ (memory.get(), nullptr);
}

TEST (SampleMemory, aLargeBlockStaysTheParentsOwnAcrossAChildProcess)
{
    // The progress window may start a helper program while the samples are held; the block must
    // come through it with its contents, and stay writable.
    SampleMemory memory;
    const size_t count = (size_t) 8 << 20;
    float* samples = memory.allocate (count, 2);
    ASSERT_NE (samples, nullptr);

    for (size_t i = 0; i < count; i += 1024)
        samples[i] = (float) i;

    juce::ChildProcess child;
    ASSERT_TRUE (child.start ("/bin/true"));
    EXPECT_TRUE (child.waitForProcessToFinish (10000));

    for (size_t i = 0; i < count; i += 1024)
    {
        ASSERT_EQ (samples[i], (float) i) << i;
        samples[i] = -1.0f;
    }

    EXPECT_EQ (samples[count - 1024], -1.0f);
}
