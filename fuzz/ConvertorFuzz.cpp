// The output convertors on a WAV track: AIFF, FLAC, Ogg Vorbis or MP3 as the first byte asks.
#include "FuzzSupport.h"
#include "encoding/FormatConvertors.h"
#include "encoding/Mp3LameConvertor.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    auto& project = FuzzSupport::project();

    if (size < 1)
        return 0;

    const auto folder = FuzzSupport::workFolder ("convertors");
    const auto source = FuzzSupport::write (folder.getChildFile ("in.wav"), data + 1, size - 1).getFullPathName();
    const auto out = [&] (const char* name) { return folder.getChildFile (name).getFullPathName(); };

    switch (data[0] % 4)
    {
        case 0:
        {
            AiffConvertorThread worker (source, out ("out.aiff"), &project);
            worker.run();
            break;
        }
        case 1:
        {
            FlacConvertorThread worker (source, out ("out.flac"), &project);
            worker.run();
            break;
        }
        case 2:
        {
            OggConvertorThread worker (source, out ("out.ogg"), &project);
            worker.run();
            break;
        }
        default:
        {
            Mp3LameConvertorThread worker (source, out ("out.mp3"), &project);
            worker.run();
            break;
        }
    }

    return 0;
}
