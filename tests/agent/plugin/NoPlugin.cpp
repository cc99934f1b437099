// A shared library that is no plug-in.

extern "C" [[gnu::visibility("default")]] int korvoNoPlugin() { return 0; }
