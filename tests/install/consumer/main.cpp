#include <vorna/Vorna.h>

#include <cstdio>

int main() {
    // Only the public headers are reachable; naming the host API is enough to prove it links.
    vorna::VRNSetLogSink([](const std::string&) {});
    auto events = vorna::VornaInvocationEventMotion | vorna::VornaInvocationEventScreenshot;
    void (*start)(vorna::VornaInvocationEvent) = &vorna::VRNVorna::startWithInvocationEvents;
    std::printf("consumer ok %d\n", start != nullptr && events == 5 ? 1 : 0);
    return 0;
}
