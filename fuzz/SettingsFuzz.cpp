// The settings file, read as the program starts: the project made on it and let go again.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    const auto file = Project::settingsFileLocation();
    file.getParentDirectory().createDirectory();
    FuzzSupport::write (file, data, size);

    {
        Project project;
        project.translate ("Groove Smith : Error");
    }

    return 0;
}
