// The sanitizer build's run-time settings, compiled into each of its programs (the test binary and
// the program that tests start), so that CTest, the one-process run and a run by hand all work the
// same way and find the same suppression file without any environment. Options set in
// ASAN_OPTIONS, LSAN_OPTIONS or UBSAN_OPTIONS still override these.

#ifndef GROOVESMITH_SANITIZER_DIR
#error "GROOVESMITH_SANITIZER_DIR names the folder of the suppression file"
#endif

#include <dlfcn.h>

namespace
{
/** JUCE opens the X libraries at run time and closes them again when its window system goes, at
    the end of a run. Once unloaded, the memory those libraries keep in their own globals (Xlib's
    caches, locale and resource data) can no longer be seen to be reachable, and LeakSanitizer
    reports it as leaked from an unknown module, with no name a suppression could match. Holding
    the libraries for the whole process keeps that memory reachable, as it is at the end of a
    normal run, while leaks of the program's own and of JUCE's still show, with their names. */
__attribute__ ((constructor)) void keepTheXLibrariesLoaded()
{
    static const char* const names[] = { "libX11.so.6",      "libXext.so.6",    "libXcursor.so.1",
                                         "libXinerama.so.1", "libXrender.so.1", "libXrandr.so.2" };
    for (const char* name : names)
        dlopen (name, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);

    // ALSA opens PipeWire's ALSA device the same way and closes it at the end of a run.
    dlopen ("/usr/lib/x86_64-linux-gnu/alsa-lib/libasound_module_pcm_pipewire.so",
            RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
}
} // namespace

extern "C"
{
    __attribute__ ((visibility ("default"), used)) const char* __asan_default_options()
    {
        // Leaks count as failures; the first error ends the process with a failing exit code.
        return "detect_leaks=1:halt_on_error=1:print_summary=1";
    }

    /** PipeWire's client libraries (its JACK library, its ALSA device and the plugins they load)
        keep what they allocate for their connection until the process ends: not the program's. */
    __attribute__ ((visibility ("default"), used)) const char* __lsan_default_suppressions()
    {
        return "leak:libpipewire-0.3.so\n"
               "leak:/spa-0.2/\n"
               "leak:/pipewire-0.3/\n"
               "leak:libasound_module_pcm_pipewire.so\n";
    }

    __attribute__ ((visibility ("default"), used)) const char* __ubsan_default_options()
    {
        return "print_stacktrace=1:halt_on_error=1:suppressions=" GROOVESMITH_SANITIZER_DIR "/ubsan.supp";
    }
}
