#pragma once

#include <juce_core/juce_core.h>

/**
    The memory that holds a whole track's samples during a filter run: hundreds of megabytes,
    filled once and then rewritten in place.

    On Linux it comes straight from the system, in large pages where the system offers them, and
    is left out of child processes: the progress window may start a small helper program, and
    after such a fork every page of a shared block would fault again at its next write. Elsewhere
    it is a plain heap block. Either way it starts zeroed.
*/
class SampleMemory
{
public:
    SampleMemory() = default;
    ~SampleMemory();

    /** Frees what was held and returns `count` zeroed floats (at least one), or null. With
        `threads` at 2 or more, a large block's pages are mapped in on two threads at once. */
    float* allocate (size_t count, int threads = 1);

    void free();

    float* get() const { return data; }

private:
    float* data = nullptr;
    size_t mappedBytes = 0; // non-zero when `data` was mapped from the system
    juce::HeapBlock<float> heap;

    JUCE_DECLARE_NON_COPYABLE (SampleMemory)
};
