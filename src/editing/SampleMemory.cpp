#include "editing/SampleMemory.h"

#include <system_error>
#include <thread>

#if JUCE_LINUX
#include <sys/mman.h>
#endif

namespace
{
/** Writes one zero into every page of the block, so that the system maps and clears the pages
    now. */
void touchPages (char* start, size_t bytes)
{
    const size_t page = 4096;

    for (size_t offset = 0; offset < bytes; offset += page)
        start[offset] = 0;
}

/** touchPages over the block, the second half on a thread of its own where one can start. */
void touchPagesOnTwoThreads (char* start, size_t bytes)
{
    const size_t half = bytes / 2;
    std::thread second;

    try
    {
        second = std::thread ([start, half, bytes] { touchPages (start + half, bytes - half); });
    }
    catch (const std::system_error&)
    {
        touchPages (start + half, bytes - half);
    }

    touchPages (start, half);

    if (second.joinable())
        second.join();
}
} // namespace

SampleMemory::~SampleMemory()
{
    free();
}

float* SampleMemory::allocate (size_t count, int threads)
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

            // Clearing fresh pages is much of the cost of a large block: with two threads, both
            // take their share before the block is filled.
            if (threads >= 2)
                touchPagesOnTwoThreads (static_cast<char*> (block), bytes);

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
