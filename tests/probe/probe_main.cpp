// The probe program: the game's engine and start-up, with the TestProbe class registered
// more and the main loop's passes counted for it. The graphical tests and the start-up
// benchmark run it where they need to see inside the frame loop; everything else they
// check runs the real `velmora`.

#include <cstdio>

#include "app/application.h"
#include "testprobe.h"

int main(int argc, char** argv) {
    // Logs reach pipes line by line.
    setvbuf(stdout, nullptr, _IOLBF, 0);

    Application app;
    if (!app.Start(argc, argv, RegisterTestEntities)) return 0;
    while ((++test_loop_pass, app.RunPass())) {
    }
    app.Shutdown();
    return 0;
}
