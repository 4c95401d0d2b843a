// Defaults for sanitizer builds, read by the sanitizer runtimes at start-up in
// every program of the project (the tests, velmora, velmora-import).
#if defined(__SANITIZE_ADDRESS__)

extern "C" {

// Caches that libraries keep for the life of the process on purpose.
const char* __lsan_default_suppressions() {
  return "leak:libgio-2.0.so\n"    // the shared MIME database's content types
         "leak:libglib-2.0.so\n"
         "leak:libfontconfig.so\n"  // poppler's and tesseract's font tables
         "leak:libtesseract.so\n";
}

}  // extern "C"

#endif
