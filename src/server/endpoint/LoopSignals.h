#pragma once

/// From now on SIGINT and SIGTERM end the server's loop, even one that begins later, and never the
/// process. This remains so after the loop has ended, because the clean-up may take long and must
/// not be interrupted. Call it on the thread that runs the loop.
void endLoopOnSignals();
