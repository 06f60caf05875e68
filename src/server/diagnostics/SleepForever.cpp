#include "server/diagnostics/SleepForever.h"

#include <unistd.h>

void sleepForever() noexcept {
    for (;;) {
        pause();
    }
}
