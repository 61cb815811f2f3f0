// Linked into a library with `-Wl,--wrap=__cxa_atexit`, through which the compiler registers the destructors of static
// objects: none of them is ever called. A program may leave main() while its other threads are in the middle of any
// call, and they go on until the process is gone; what they work with, singletons and tables alike, has to last as
// long. What has to be done at exit() is registered with on_exit().
//
// One is let through: every file that includes <iostream> has an object whose last destructor in the process flushes
// std::cout, that of the application too.
using Destructor = void (*)(void*);

extern "C" void _ZNSt8ios_base4InitD1Ev(void*);  // NOLINT: std::ios_base::Init::~Init()
extern "C" int __real___cxa_atexit(Destructor destructor, void* object, void* library);  // NOLINT: the linker's name

extern "C" __attribute__((visibility("hidden"))) int __wrap___cxa_atexit(  // NOLINT: the linker's name
    Destructor destructor, void* object, void* library) {
  return destructor == &_ZNSt8ios_base4InitD1Ev ? __real___cxa_atexit(destructor, object, library) : 0;
}
