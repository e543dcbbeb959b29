// The sanitizer build's run-time settings, compiled into each of its programs (the test binary and
// the program that tests start), so that CTest, the one-process run and a run by hand all work the
// same way and find the same suppression file without any environment. Options set in
// ASAN_OPTIONS, LSAN_OPTIONS or UBSAN_OPTIONS still override these.

#ifndef GROOVESMITH_SANITIZER_DIR
#error "GROOVESMITH_SANITIZER_DIR names the folder of the suppression file"
#endif

#include <dlfcn.h>
#include <string>

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
}

/** The same for ALSA's PipeWire plugin, which ALSA loads for its `default` device on a desktop and
    unloads when the device closes, leaving what PipeWire's own start-up keeps for the process.
    The plugin lies in the "alsa-lib" folder beside the ALSA library the program is linked with;
    where it is not installed, nothing is loaded. */
__attribute__ ((constructor)) void keepAlsasPipeWirePluginLoaded()
{
    Dl_info alsa{};
    const auto open = dlsym (RTLD_DEFAULT, "snd_pcm_open");
    if (open == nullptr || dladdr (open, &alsa) == 0 || alsa.dli_fname == nullptr)
        return;

    std::string plugin (alsa.dli_fname);
    const auto slash = plugin.rfind ('/');
    if (slash == std::string::npos)
        return;
    plugin = plugin.substr (0, slash) + "/alsa-lib/libasound_module_pcm_pipewire.so";
    dlopen (plugin.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
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
