#pragma once

namespace bench {

/// Brings the process to the server's state after start-up, before its loop: the configuration is
/// read, the database of the running controller is attached, and the analog inputs have their
/// objects and nodes (see rtexvariable, varContexts and uaserver). Works only at the first call;
/// without a controller the process ends as the server would.
void attachController();

}  // namespace bench
