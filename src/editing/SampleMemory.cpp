#include "editing/SampleMemory.h"

#if JUCE_LINUX
#include <sys/mman.h>
#endif

SampleMemory::~SampleMemory()
{
    free();
}

float* SampleMemory::allocate (size_t count)
{
    free();
    count = std::max<size_t> (count, 1);

#if JUCE_LINUX
    // Worth a mapping of its own from a few megabytes on; small blocks stay on the heap.
    const size_t bytes = count * sizeof (float);

    if (bytes >= (size_t) 4 << 20)
    {
        void* block = mmap (nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);

        if (block != MAP_FAILED)
        {
            // Both are advice: where the system declines, the block works as it is.
            madvise (block, bytes, MADV_HUGEPAGE);
            madvise (block, bytes, MADV_DONTFORK);
            mappedBytes = bytes;
            data = static_cast<float*> (block);
            return data;
        }
    }
#endif

    heap.calloc (count);
    data = heap.get();
    return data;
}

void SampleMemory::free()
{
#if JUCE_LINUX
    if (mappedBytes != 0)
        munmap (data, mappedBytes);
#endif

    mappedBytes = 0;
    heap.free();
    data = nullptr;
}
