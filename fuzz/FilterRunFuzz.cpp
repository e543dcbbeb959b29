// A filter run on a WAV file: loaded whole, then normalized, declicked and denoised as the
// first byte asks, and written in the file's own format.
#include "FuzzSupport.h"
#include "editing/CFilters.h"
#include "editing/FiltersProgressThread.h"

namespace
{
/** The run's file side, opened from here so that the worker can run on this thread. */
struct FilterRun : public CFilters
{
    using CFilters::openInput;
    using CFilters::openOutput;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    if (size < 1)
        return 0;

    const auto folder = FuzzSupport::workFolder ("filters");
    const auto input = FuzzSupport::write (folder.getChildFile ("in.wav"), data + 1, size - 1);
    const auto output = folder.getChildFile ("out.wav");

    FilterRun run;

    if (! run.openInput (input) || ! run.openOutput (output))
        return 0;

    const int denoise = (data[0] & 1) != 0 ? 50 : -1;
    const int declick = (data[0] & 2) != 0 ? 50 : -1;

    {
        FiltersProgressThread worker (true, denoise, declick, run.samples, run.numChannels, run.writer, run.numSamples,
                                      nullptr);
        worker.run();
    }

    return 0;
}
