// A library to be loaded many times under many names.

extern "C" __declspec(dllexport) int KqBenchLibrary() { return 0; }
