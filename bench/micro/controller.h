#pragma once

/// The process as it is after start-up, up to the running server: the configuration is read, the
/// database of the running controller is attached, and the analog inputs have their objects and
/// nodes (see rtexvariable, varContexts and uaserver). Does its work once; without a controller the
/// process ends as the server would.
void attachController();
