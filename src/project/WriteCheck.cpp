#include "project/WriteCheck.h"

#if JUCE_LINUX || JUCE_MAC || JUCE_BSD
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace WriteCheck
{
bool canWrite (const juce::File& file)
{
    const auto path = file.getFullPathName();
    if (path.isEmpty() || file.isDirectory())
        return false;

#if JUCE_LINUX || JUCE_MAC || JUCE_BSD
    // An existing file is opened as a writer opens it, but not emptied; a pipe nobody reads
    // answers at once instead of waiting for a reader.
    auto descriptor = ::open (path.toRawUTF8(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0)
    {
        ::close (descriptor);
        return true;
    }

    if (errno != ENOENT)
        return false;

    // None there yet: one is made, never over another that appeared meanwhile, and taken away.
    descriptor = ::open (path.toRawUTF8(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (descriptor < 0)
        return false;

    ::close (descriptor);
    ::unlink (path.toRawUTF8());
    return true;
#else
    if (file.existsAsFile())
    {
        juce::FileOutputStream stream (file);
        return stream.openedOk();
    }

    if (! file.create().wasOk())
        return false;

    file.deleteFile();
    return true;
#endif
}
} // namespace WriteCheck
