// A language file, loaded and asked for a few of the program's texts.
#include "FuzzSupport.h"
#include "project/LanguageStrings.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    const auto file =
        FuzzSupport::write (FuzzSupport::workFolder ("language").getChildFile ("lang-fr.txt"), data, size);
    LanguageStrings strings (file, false);

    for (const auto* text : { "Failed to load track(s) : ", "Splitting...", "Cancel", "\"", "" })
        strings.translate (text);

    return 0;
}
