#include "sim/layout/attribute_files.h"
#include "tests/support/files.h"

TEST(AttributeFiles, TheDocumentedTableIsCurrent) {
    EXPECT_EQ(readFile(ATTRIBUTES_MD), sim::attributeTable())
        << "docs/attributes.md is old: write it with zrtsim --attribute-table";
}
