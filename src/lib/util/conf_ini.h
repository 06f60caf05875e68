#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// How an IniFile is opened: bits, added up.
enum IniMode : int {
    kIniRead = 1,
    kIniWrite = 2,
    kIniAppend = 4,
    kIniBinary = 8,
    kIniUpdate = 16,
};

/// A header of an ini file.
struct TableSec {
    std::string text;          ///< between "[" and "]", unchanged
    long pos = 0;              ///< file position just after "]"
    int str = 0;               ///< line of the "]", from 1
    TableSec* next = nullptr;  ///< next one in the file
};

/// Reader of the controller's ini files, CP866. It works on the open file, so each result shows the
/// file's contents at the time of the call.
///
///   [ROLLING]                     up to three words, separated by blanks, name a section
///   SaveTime = 500 : comment      ":" begins a comment, everywhere
///   List = 1, 2, &                "&" joins the next line
///          3, 4
///
/// Section words and keys are case-sensitive. Not copyable; used from one thread.
class IniFile {
  public:
    /// Longest values in bytes; buffers for them hold one more.
    static constexpr std::size_t kValueMax = 999;
    static constexpr std::size_t kLongValueMax = 9999;

    /// @param mode  bits of IniMode; 1 reads a text file
    IniFile(const char* name, int mode);
    ~IniFile();
    IniFile(const IniFile&) = delete;
    IniFile& operator=(const IniFile&) = delete;

    /// Opens the file and notes its sections.
    /// @return 0; 1 file cannot be opened; 2 it was already open (reported on standard output) and
    ///         has been reopened; 3 a header is not closed or contains a ":": the file is open and
    ///         has no sections. `Error` holds the same value.
    int Open();
    /// @return 0; 1 when the file was not open or could not be closed. Forgets the sections either
    ///         way.
    int Close();

    /// Reads the value of a key from the first section that matches.
    /// @param s1, s2, s3  words of the section; null matches any
    /// @param value       text: a buffer of kValueMax + 1 bytes; a longer value is cut, blanks and
    ///                    tabs at both ends are dropped. Numbers are read from the beginning of the
    ///                    text, 0 when there is none. Untouched when nothing is found.
    /// @return 0; 1 section not found; 2 key not found in it
    int CfgGet(const char* s1, const char* s2, const char* s3, const char* key, char* value);
    int CfgGet(const char* s1, const char* s2, const char* s3, const char* key, int& value);
    int CfgGet(const char* s1, const char* s2, const char* s3, const char* key, short& value);
    int CfgGet(const char* s1, const char* s2, const char* s3, const char* key, long& value);
    int CfgGet(const char* s1, const char* s2, const char* s3, const char* key, float& value);
    /// As CfgGet with a text, for a buffer of kLongValueMax + 1 bytes.
    int CfgGetMax(const char* s1, const char* s2, const char* s3, const char* key, char* value);

    /// Goes to the beginning of the first section that matches, for GetNextKey.
    /// @return 0; 1 section not found
    int FindSection(const char* s1, const char* s2, const char* s3);
    /// The next key of the section and its value, in the order of the file. After FindSection,
    /// without another operation in between.
    /// @param key, value  buffers of kValueMax + 1 bytes; longer texts are cut
    /// @return 0; 2 no further key
    int GetNextKey(char* key, char* value);

    /// Numbers of a list: "1, 3, 7-9" in this order, or ALL, All, all for 1 to `max`.
    /// @param max   greatest number allowed; the least one is 1
    /// @return 0; 1 for a text that is no list, a range that runs backwards or a number outside 1
    ///         to `max`: `list` is empty then.
    static int ConvertStrToListVar(const char* text, int max, std::vector<int>& list);

    // Names as the controller's other code has them.
    std::string FileName;
    int Mode;
    char SMode[6]{};                  ///< mode text of fopen
    std::int16_t Error = 0;           ///< result of the last Open or Close
    std::FILE* FileHead = nullptr;    ///< null while closed
    TableSec* TableSecBeg = nullptr;  ///< first section; owned, with all that follow it
    TableSec* TableSecCur = nullptr;  ///< section found last
    TableSec* TableSecDop = nullptr;  ///< last section, where the table grows

  private:
    bool buildTable();
    bool readHeader(int& line);
    void freeTable();
    void skipLine();
    bool nextName(std::string& name);
    int readValue(std::size_t limit, std::string& value);
    int find(const char* s1, const char* s2, const char* s3, const char* key, std::size_t limit,
             std::string& value);
    template <class Number, class Convert>
    int getNumber(const char* s1, const char* s2, const char* s3, const char* key, Number& value,
                  Convert convert);
};
