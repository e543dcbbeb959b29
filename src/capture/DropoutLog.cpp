#include "capture/DropoutLog.h"

#include <map>

namespace
{
// Taken by the audio thread only when it finds a dropout or makes a file, and by the message
// thread for a lookup: never held for longer than a map operation.
juce::SpinLock& logLock()
{
    static juce::SpinLock lock;
    return lock;
}

std::map<juce::String, int>& counts()
{
    static std::map<juce::String, int> perFile;
    return perFile;
}
} // namespace

void DropoutLog::add (const juce::String& path, int count)
{
    if (count <= 0 || path.isEmpty())
        return;

    const juce::SpinLock::ScopedLockType sl (logLock());
    counts()[path] += count;
}

void DropoutLog::forget (const juce::String& path)
{
    const juce::SpinLock::ScopedLockType sl (logLock());
    counts().erase (path);
}

int DropoutLog::countFor (const juce::String& path)
{
    const juce::SpinLock::ScopedLockType sl (logLock());
    const auto found = counts().find (path);
    return found != counts().end() ? found->second : 0;
}

juce::StringPairArray DropoutLog::all()
{
    juce::StringPairArray result;
    const juce::SpinLock::ScopedLockType sl (logLock());
    for (const auto& [path, count] : counts())
        result.set (path, juce::String (count));
    return result;
}

void DropoutLog::clear()
{
    const juce::SpinLock::ScopedLockType sl (logLock());
    counts().clear();
}
