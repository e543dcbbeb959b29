// The sanitizer build's run-time settings, compiled into each of its programs (the test binary and
// the program that tests start), so that CTest, the one-process run and a run by hand all work the
// same way and find the same suppression files without any environment. Options set in
// ASAN_OPTIONS, LSAN_OPTIONS or UBSAN_OPTIONS still override these.

#ifndef GROOVESMITH_SANITIZER_DIR
    #error "GROOVESMITH_SANITIZER_DIR names the folder of the suppression files"
#endif

extern "C"
{
    __attribute__ ((visibility ("default"), used)) const char* __asan_default_options()
    {
        // Leaks count as failures; the first error ends the process with a failing exit code.
        return "detect_leaks=1:halt_on_error=1:print_summary=1";
    }

    __attribute__ ((visibility ("default"), used)) const char* __lsan_default_options()
    {
        return "suppressions=" GROOVESMITH_SANITIZER_DIR "/lsan.supp:print_suppressions=0";
    }

    __attribute__ ((visibility ("default"), used)) const char* __ubsan_default_options()
    {
        return "print_stacktrace=1:halt_on_error=1:suppressions=" GROOVESMITH_SANITIZER_DIR "/ubsan.supp";
    }
}
