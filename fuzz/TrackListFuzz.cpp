// The saved track list of an encode project, loaded into the list.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    auto& project = FuzzSupport::project();

    const auto file = Project::savedTrackListFile();
    file.getParentDirectory().createDirectory();
    FuzzSupport::write (file, data, size);

    project.loadSavedTrackList();
    project.clearTracks();
    return 0;
}
