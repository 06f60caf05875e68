#include "tests/support/operator_view.h"

// Linked into suites whose code uses the controller's identity: it is read once per process, so the
// file must exist before the first test.

namespace {

/// Controller 3 with a cycle of 200 ms.
class Controller3 : public testing::Environment {
  public:
    void SetUp() override {
        writeFile("/zrt/settings/veskkntr.ini", "[KONTR]\nNumber_kontr=3\nCycleTime=200\n");
    }
};

const auto* const kEnvironment = testing::AddGlobalTestEnvironment(new Controller3);

}  // namespace
