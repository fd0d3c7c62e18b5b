// Part of programs whose threads share objects of ICU. The thread sanitizer sees what ICU does to
// memory through functions of the C library, but not the atomic operations of ICU that order it,
// since ICU is not built with the sanitizer. So it is told to leave ICU's own calls out; those of
// this library and of the program count as ever.
extern "C" const char* __tsan_default_suppressions();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "called_from_lib:libicuuc.so\n"
           "called_from_lib:libicui18n.so\n"
           "called_from_lib:libicuio.so\n";
}
