#include "capture/TrackFileSync.h"

#if JUCE_LINUX || JUCE_MAC || JUCE_BSD
#include <fcntl.h>
#include <unistd.h>
#define GROOVESMITH_CAN_SYNC_FILES 1
#else
#define GROOVESMITH_CAN_SYNC_FILES 0
#endif

namespace
{
int openForSync (const juce::String& path)
{
#if GROOVESMITH_CAN_SYNC_FILES
    return path.isNotEmpty() ? ::open (path.toRawUTF8(), O_RDONLY | O_CLOEXEC) : -1;
#else
    juce::ignoreUnused (path);
    return -1;
#endif
}

bool syncDescriptor (int descriptor)
{
#if GROOVESMITH_CAN_SYNC_FILES
    return descriptor >= 0 && ::fsync (descriptor) == 0;
#else
    juce::ignoreUnused (descriptor);
    return false;
#endif
}

void closeDescriptor (int descriptor)
{
#if GROOVESMITH_CAN_SYNC_FILES
    if (descriptor >= 0)
        ::close (descriptor);
#else
    juce::ignoreUnused (descriptor);
#endif
}
} // namespace

TrackFileSync::~TrackFileSync()
{
    release();
}

bool TrackFileSync::sync (const TrackWriter::OpenFile& file)
{
    if (file.path != held.path || file.generation != held.generation)
    {
        release();
        descriptor = openForSync (file.path);
        if (descriptor >= 0)
            held = file;
    }

    return syncDescriptor (descriptor);
}

void TrackFileSync::release()
{
    syncDescriptor (descriptor);
    closeDescriptor (descriptor);
    descriptor = -1;
    held = {};
}

bool TrackFileSync::syncOnce (const juce::String& path)
{
    const int once = openForSync (path);
    const bool synced = syncDescriptor (once);
    closeDescriptor (once);
    return synced;
}
