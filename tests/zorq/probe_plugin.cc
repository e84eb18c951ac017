// A tiny loadable library for the plug-in loader tests.
extern "C" int zorq_probe_answer() {
    return 42;
}
