// The encode run's record of the files it wrote, read as a run begins: asked about a file that
// is there, noted again and saved.
#include "FuzzSupport.h"
#include "encoding/WrittenFiles.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    const auto file = WrittenFiles::defaultLocation();
    file.getParentDirectory().createDirectory();
    FuzzSupport::write (file, data, size);

    const auto track = FuzzSupport::home().getChildFile ("Track1.wav");
    track.replaceWithText ("sound");

    WrittenFiles record;
    const auto origin = record.originOf (track);
    record.isOurs (track, origin);
    record.remember (track, origin);
    record.save();

    return 0;
}
