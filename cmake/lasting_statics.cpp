// Linked into a library with `-Wl,--wrap=__cxa_atexit`, through which the compiler registers the destructors of static
// objects: none of them is ever called. A program may leave main() while its other threads are in the middle of any
// call, and they go on until the process is gone; what they work with, singletons and tables alike, has to last as
// long. What has to be done at exit() is registered with on_exit().
extern "C" __attribute__((visibility("hidden"))) int __wrap___cxa_atexit(  // NOLINT: the linker's name
    void (* /*destructor*/)(void*), void* /*object*/, void* /*library*/) {
  return 0;
}
