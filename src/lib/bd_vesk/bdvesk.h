#pragma once

#include <sys/time.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "lib/bd_vesk/attributes.h"
#include "lib/bd_vesk/bdvstype.h"
#include "lib/bd_vesk/clist.h"
#include "lib/bd_vesk/tq.h"
#include "lib/bd_vesk/typevars.h"

/// Everything about one value, as CVeskBDSh::Read fills it.
struct SReading {
    TYPE_VAL type_atr = none;  ///< what getTypeAtr answers
    SVal val;                  ///< what getVal reads; zero and of type `none` where it refuses
    timeval time{};            ///< what getTime answers
    unsigned quality = 0;      ///< what getQuality answers
};

/// The controller's real-time database as this process sees it: tables in shared memory that the
/// database process owns, addressed by type, variable and attribute.
///
/// Loaded once, at start-up, by one thread. Afterwards nothing here changes: reads and writes go
/// straight to shared memory, without locks or allocation, from any thread; shmfield.h and tq.h
/// state what can tear. The order of the virtual operations is that of the virtual table.
///
/// If a table's segment is missing, its variables do not exist. An attribute whose description is
/// missing or wrong cannot be read (value type `none`).
class CVeskBDSh : public TQManager {
  public:
    /// @param NumCnl  database channel; LoadBD loads channel 0 only
    explicit CVeskBDSh(std::uint16_t NumCnl);
    virtual ~CVeskBDSh();
    CVeskBDSh(const CVeskBDSh&) = delete;
    CVeskBDSh& operator=(const CVeskBDSh&) = delete;

    /// Asks the database process ("VsBASE") for its types, attaches their tables, reads the
    /// attribute descriptions and attaches the time-quality-flags table. Needs the message object
    /// `All`.
    ///
    /// Without a database process, asked twice a second apart, it prints "No Base in lib" and ends
    /// the process with status -1. For another channel than 0 it prints that and raises SIGTERM.
    virtual void LoadBD();
    /// Copies the apertures that getChangeVal uses; null is ignored.
    virtual void LoadAperture(SApertures* apertures);
    /// Does nothing: the database process saves its own tables.
    virtual void SaveBD();
    /// Asks the database process to process its data, unless a process "Simulator" is registered,
    /// which does so without being asked. Repeats a request that cannot be sent; ends this process
    /// with status -1 after 102 failures.
    virtual void ObrBD();

    /// The table in the place of a type. Not owned; null when the place was never filled.
    /// KEPT: tables take places in the order in which the database process reports its types. A
    /// type without variables is not reported, and all later ones are then one place too low. The
    /// type is not range-checked either: 12 wraps round to 1. Required by the interface.
    virtual CTypeVars* getTypeVars(std::uint16_t type);
    /// Whether the type has a table and at least `num` variables. Ignores the attribute, and
    /// answers true for number 0.
    virtual BOOL isVariable(SVariable var);
    /// Whether the type has the attribute; it always has number 0, the value itself. Ignores the
    /// variable number.
    virtual BOOL isAttribute(SVariable var);
    /// Value type of an attribute, `none` for one that cannot be read. Ignores the variable number.
    virtual TYPE_VAL getTypeAtr(SVariable var);

    /// Writes a value, converted to what is stored there: for attribute 0 the current data (not the
    /// current value, which getVal reads), else the passport field.
    /// @return 0 when there is no such variable. Otherwise 1, even when nothing could be stored.
    virtual BOOL setDat(SVariable var, SVal val);
    /// Writes the current data of an analog input, scaled by `low`, `high` and its own scale;
    /// stores nothing for other types and attributes.
    /// @return 0 when there is no such variable, else 1.
    virtual BOOL setDatScale(SVariable var, SVal val, float low, float high);
    /// Reads a value: for attribute 0 the current value, else the passport field.
    /// @param out  may hold anything; cleared, then set. Type `none`: nothing could be read.
    /// @return 0, `out` untouched, when there is no such type or attribute. Otherwise 1.
    virtual BOOL getVal(SVariable var, SVal* out);
    /// As getVal, but attribute 0 reads the current data.
    virtual BOOL getDat(SVariable var, SVal* out);
    /// Reads a value as getVal does and compares it with the one before.
    ///
    /// A float has changed when it differs by at least the type's aperture. Changes of AV 21 and 39
    /// are judged by the attributes 41 and 40.
    /// @param last  value last reported; updated when it has changed
    /// @param aux   value of 41 or 40 when last reported; updated likewise. Unused for all others.
    /// @return 1 when it has changed, else 0.
    virtual BOOL getChangeVal(SVariable var, SVal* last, SVal* aux);

    /// Reads value type, value, time and quality of one address in one call, each as its own
    /// operation does. Faster than four calls, each of which passes the packed SVariable through
    /// memory. `out` may hold an earlier reading.
    void Read(std::uint8_t type, std::uint16_t num, std::uint16_t num_atr, SReading* out);

    /// Process id of the database, -1 before LoadBD.
    int databasePid() const { return PidBD; }
    /// Kernel ids of the segments that LoadBD attached, in no order.
    const std::vector<int>& segmentIds() const { return segmentIds_; }

    // Time, quality and flags of a variable; its attribute does not matter. Only the types VA to DO
    // have them: for others, and for variables that do not exist, they read as 0 and setting them
    // answers -1.
    timeval getTime(SVariable var) const { return TQGetTime(tqType(var), tqIndex(var)); }
    unsigned getQuality(SVariable var) const { return TQGetQuality(tqType(var), tqIndex(var)); }
    unsigned getFlags(SVariable var) const { return TQGetFlags(tqType(var), tqIndex(var)); }
    int setTime(SVariable var, timeval time) { return TQSetTime(tqType(var), tqIndex(var), time); }
    int setQuality(SVariable var, unsigned quality) {
        return TQSetQuality(tqType(var), tqIndex(var), quality);
    }
    int setFlags(SVariable var, unsigned flags) {
        return TQSetFlags(tqType(var), tqIndex(var), flags);
    }
    /// KEPT: type and number are passed on unchanged, whereas the other operations subtract 1. So
    /// the record is one type and one variable further: VA 1 gives the second record of AV.
    /// Required by the interface.
    TimeQuality* getTQFPointer(SVariable var) const {
        return TQGetTQFPointer(static_cast<char>(var.type), var.num);
    }

    /// Reads the attribute description files of the folder `SYSTEM`; LoadBD calls it once its
    /// tables are there, because the descriptions are checked against their records.
    /// @return 0; -1 when the files could not be read to their end. That is reported on standard
    ///         output, except when the files differ in their number of entries. Entries read before
    ///         a fault are used.
    int LoadOffAtr();

  protected:
    // Names as the controller's other code has them.
    std::uint16_t NumCnl;                 ///< database channel
    CList<CTypeVars*, kTypeCount> bd_vs;  ///< tables in load order, owned
    std::vector<ListAllVar> p_ListAtr;    ///< attribute descriptions as the files have them
    std::int16_t NUM_TYPE_INFILE = 0;     ///< entries in the attribute files
    char LinkFileName[100] = "/offatrs.dat";
    char LinkFile[100] = {};  ///< its full path
    char LinkFileNameType[100] = "/atributs.dat";
    char LinkFileType[100] = {};  ///< its full path
    std::uint8_t TPtoTA[5] = {};  ///< unused
    SApertures m_apertures;
    int PidBD = -1;  ///< process id of the database, -1 until found

  private:
    enum class Source { curDat, curVal };
    /// An SVariable in registers.
    struct Address {
        explicit Address(SVariable var) : type(var.type), num(var.num), atr(var.num_atr) {}
        Address(std::uint8_t t, std::uint16_t n, std::uint16_t a) : type(t), num(n), atr(a) {}
        unsigned type;
        std::uint16_t num;
        unsigned atr;
    };

    static char tqType(SVariable var) { return static_cast<char>(var.type - 1); }
    static std::uint16_t tqIndex(SVariable var) { return static_cast<std::uint16_t>(var.num - 1); }

    [[nodiscard]] CTypeVars* tableOf(unsigned type) const;
    [[nodiscard]] AtrPlace placeOfAttribute(Address at) const;
    [[nodiscard]] bool hasAttribute(Address at) const;
    [[nodiscard]] TYPE_VAL typeOf(Address at) const;
    BOOL read(Address at, SVal* out, Source source) const;
    void readOneByOne(Address at, SReading* out) const;
    bool isChanged(std::uint8_t type, const SVal& now, const SVal& last) const;

    void findDatabase();
    void loadTables();
    void addTable(unsigned type, std::uint32_t count);
    void* attachArray(int index, std::uint32_t count, std::size_t elementBytes);
    void checkAttributes();
    void report(const AtrFault& fault) const;
    void releaseTables();

    // The descriptions, checked against the record of the table in the type's place; constant after
    // LoadOffAtr. By type code - 1, then by attribute - 1.
    std::array<std::vector<AtrPlace>, kDescribedTypeCount> places_;

    /// What Read needs to know about one type, in one cache line: cache misses make up most of a
    /// read's time.
    struct alignas(64) ReadPlan {
        const std::uint8_t* records = nullptr;  // passports; null without a table
        const AtrPlace* places = nullptr;
        const TQF* tqf = nullptr;
        const std::uint16_t* tqfCountNow = nullptr;  // in shared memory; null when tqfCount is 0
        std::uint32_t recordSize = 0;
        std::uint32_t recordCount = 0;
        std::uint32_t placeCount = 0;
        std::uint32_t tqfCount = 0;
    };
    void planReads();

    // By type code - 1; constant after LoadBD.
    std::array<ReadPlan, kDescribedTypeCount> readPlans_;
    std::vector<int> segmentIds_;  // constant after LoadBD
};
