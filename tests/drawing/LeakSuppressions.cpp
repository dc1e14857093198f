// Fontconfig keeps its patterns by offsets, behind which the leak checker sees no pointer.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
