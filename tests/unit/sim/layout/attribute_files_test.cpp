#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "layout/attribute_files.h"

TEST(AttributeFiles, TheDocumentedTableIsCurrent) {
    std::ifstream file(ATTRIBUTES_MD);
    ASSERT_TRUE(file) << ATTRIBUTES_MD;
    const std::string documented{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(documented, sim::attributeTable())
        << "docs/attributes.md is old: write it with zrtsim --attribute-table";
}
