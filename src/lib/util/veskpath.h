#pragma once

/// Folders of the controller's installation. Every file name and every IPC key of the libraries is
/// made from one of them. Each field is named like the environment variable that sets it.
///
/// The texts are not owned: a field points into the process environment or at a literal. An empty
/// variable is an empty folder name; only an unset one gives the default.
class CSRV_PATH {
  public:
    CSRV_PATH();

    /// Reads the environment again. Used by the constructor, and by tests after `setenv`.
    void InitPathes();

    /// Writes the table to standard output.
    void Print() const;

    const char* VESKPATH;      ///< prefix of all key files, "/zrt"
    const char* PATHDB;        ///< journal files
    const char* PRG;           ///< programs
    const char* SYSTEM;        ///< attribute description files
    const char* LIB;           ///< libraries
    const char* DIC;           ///< journal dictionaries
    const char* SETTINGS;      ///< ini files
    const char* PRG_DEBUG;     ///< programs under test
    const char* XML_SETTINGS;  ///< exported settings
};

/// The process's table, complete before any ordinary static initialiser runs (see its definition),
/// so other files' static objects may use it. Later changes of the environment are not seen.
extern CSRV_PATH SRV_Path;
