#pragma once

/// From here on SIGINT and SIGTERM end the server's loop, also one that begins later, and never the
/// process. That stays so when the loop has ended: the clean-up may take long, and is not to be cut
/// off. Called on the thread that runs the loop.
void endLoopOnSignals();
