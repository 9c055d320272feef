// A library whose function calls back; the build gives that function its name.

using Callback = void (*)(void* argument);

namespace {

volatile int sink = 0;

} // namespace

[[gnu::noinline]] static void KQ_TEST_CALLER(Callback callback, void* argument) {
    callback(argument);
    sink = sink + 1;
}

extern "C" __declspec(dllexport) void KqTestCall(Callback callback, void* argument) {
    KQ_TEST_CALLER(callback, argument);
    sink = sink + 2;
}
