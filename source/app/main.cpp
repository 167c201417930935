// The game's entry point: the Application runs the process (app/application.h).

#include <cstdio>

#include "app/application.h"

int main(int argc, char** argv) {
    // Logs reach pipes line by line.
    setvbuf(stdout, nullptr, _IOLBF, 0);

    Application app;
    if (!app.Start(argc, argv)) return app.exit_code;
    while (app.RunPass()) {
    }
    app.Shutdown();
    return 0;
}
