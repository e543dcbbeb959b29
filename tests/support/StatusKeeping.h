#pragma once

#include <juce_core/juce_core.h>

/** A worker that keeps, in order, every status line its progress window is given. `Worker`
    is any worker with a virtual showStatus, such as SplitThread, MergeThread, ResamplerThread
    or CopyMyFile. */
template <typename Worker>
class StatusKeeping : public Worker
{
public:
    using Worker::Worker;
    juce::StringArray shown;

protected:
    void showStatus (const juce::String& text) override
    {
        shown.add (text);
        Worker::showStatus (text);
    }
};
