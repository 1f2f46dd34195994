// Qt 5.15's offscreen platform plug-in never frees the screen it registers
// when the application starts. Sanitizer builds link this into every test
// program; the leak checker reads these hooks at start-up. The full unwinder
// is needed so that the plug-in's frames show in the allocation stacks that
// the suppression matches.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libqoffscreen.so\n";
}

extern "C" const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}
