#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "lib/rolling2/rol_arg.h"
#include "lib/rolling2/rol_shared.h"

// ---- Raw form: a message cut to its used length ------------------------------------------------

/// Bytes of the arguments; nothing is read beyond the record.
/// @return more than sizeof(ArgsBuffer) when their lengths add up to more than the record holds
[[nodiscard]] std::size_t RolArgsSize(const SRolMessage& message);

/// Appends the raw form. A message whose arguments overflow the record is written without them.
/// @param to  room of at least sizeof(SRolMessage)
/// @return bytes written
std::size_t RolWriteRaw(const SRolMessage& message, std::uint8_t* to);

/// Reads one raw message; the rest of the record after its arguments is zeroed.
/// @param used  receives the bytes read; untouched on failure
/// @return kRolDone, kRolShortMessage, kRolArgumentsOverflow
[[nodiscard]] int RolReadRaw(std::span<const std::uint8_t> bytes, SRolMessage& message,
                             std::size_t& used);

// ---- Arguments ---------------------------------------------------------------------------------

/// A decoded argument. A text comes without its closing NUL, CP866. monostate: a type that this
/// library does not know, or a length that does not belong to the type.
struct RolValue {
    TRolArgType type;
    std::variant<std::monostate, std::int64_t, std::uint64_t, double, std::string> value;
};

/// The arguments in their order; those that lie within the record, whatever NumberOfArgs claims.
[[nodiscard]] std::vector<RolValue> RolArguments(const SRolMessage& message);

/// The text of a message of the OPC UA server (18091 to 18094) with its arguments; nothing for
/// other messages, whose texts are in the controller's dictionaries.
/// @return CP866
[[nodiscard]] std::optional<std::string> RolKnownText(const SRolMessage& message);

// ---- The cursor --------------------------------------------------------------------------------

/// One message, to be filled argument by argument or to be shown. It is a copy, so changes that
/// other processes make to the ring do not affect it.
class CRolMessageInterface {
  public:
    /// Begins a message without arguments.
    void Start(unsigned long dictionary, unsigned long code, signed char varType, short varNumber);

    /// Appends an argument.
    /// @return kRolDone; kRolArgumentType, kRolArgumentsOverflow: the message stays as it was
    int AddArg(const CRolArg& argument);

    /// Chooses the form of the designation in MakeString. If set, the designation fills 24 columns
    /// without a gap.
    void SetPoz24(bool isSet) { poz24_ = isSet; }

    /// The message as one line: time (local), designation of its variable, text.
    /// @param designationCp866  of the variable; null or empty without one
    /// @return CP866, without a line feed. Messages 18091 to 18094 have their text; others show
    ///         their number and arguments.
    [[nodiscard]] std::string MakeString(const char* designationCp866) const;

    SRolMessage Message{};

  private:
    bool poz24_ = false;
};
