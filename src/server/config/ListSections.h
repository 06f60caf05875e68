#pragma once

#include <map>
#include <string>
#include <vector>

/// The schema of the configuration file: which sections and which of their keys are known. Names
/// are case-sensitive. Filled once at start-up, only read afterwards; main thread.
class ListSections {
  public:
    /// The schema of the process, empty until declareSchema filled it.
    static ListSections& getInstance();

    /// Declares a section; if it was declared before, the new parameters replace the old ones.
    void addSection(const std::string& section, const std::vector<std::string>& parameters);
    /// Adds one parameter to a section, which is created if missing.
    void addParam(const std::string& section, const std::string& parameter);

    /// What was declared: section -> parameters in their order.
    [[nodiscard]] const std::map<std::string, std::vector<std::string>>& declared() const noexcept {
        return sections_;
    }

    /// Numbered sections first: a name that contains "Plotter_", or otherwise "Attributes_Group",
    /// is known if an integer follows that text (blanks before it and any text after it are
    /// allowed). Any other name must be a declared one.
    [[nodiscard]] bool hasSection(const std::string& name) const;

    /// Numbered sections have the keys of "Plotter" and "Attributes_Group". Outside plotters a key
    /// with "Type" in it, an attribute entry, is always known.
    [[nodiscard]] bool hasParam(const std::string& section, const std::string& key) const;

    /// Prints the schema to standard output: "[section]" and its parameters, indented, one per
    /// line.
    void PrintAll() const;

    /// Cuts every declared parameter name at its first ";" or ":".
    void RemoveCommentsFromValuesSimple();

  private:
    [[nodiscard]] bool declares(const std::string& section, const std::string& parameter) const;

    std::map<std::string, std::vector<std::string>> sections_;
};

/// Declares the five sections of the server's configuration file and their keys.
void declareSchema(ListSections& schema);
