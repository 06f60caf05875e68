#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "server/diagnostics/EventJournal.h"

// What operators must see goes to the controller's journal and, with the same words, to the
// server's log. Every such message leaves through postAndLog, so that neither half is forgotten.
// Main thread.

/// Numbers of the server's messages in the journal's dictionary.
enum class MessageNumber : std::uint32_t {
    started = 18091,             ///< text: version
    running = 18092,             ///< text: what is published
    stopped = 18093,             ///< no argument of its own
    configurationError = 18094,  ///< integer: error; text: place
};

/// Configuration errors by the number that operators see. The texts are in
/// OperatorMessages.cpp.
enum class ConfigError : std::int32_t {
    fileNotOpened = 1,     ///< no line
    samplingInterval = 2,  ///< line of the key
    serverPort = 3,        ///< line of the key, or none: key missing or not a number
    attribute = 4,  ///< line of the entry: the database has no such attribute, or it is refused
    unknownSection = 5,  ///< line of the section's heading
    unknownKey = 6,      ///< line of the key
};

/// What a configuration error is about, as far as its reporter knows. Operators get a line number
/// instead. CP866.
struct ConfigSubject {
    std::string section;
    std::string key;
    bool missing = false;  ///< an attribute that the database does not describe
};

/// A configuration error as operators would read it.
struct ConfigErrorReport {
    ConfigError error;
    ConfigSubject subject;
    std::optional<std::int32_t> line;  ///< in the configuration file, where the message names one
    std::string journalText;           ///< last argument of the journal's message, as bytes
    std::string logLine;               ///< as the log shows it after the time; UTF-8
};

/// Passes configuration errors to `receiver` instead of journal and log, for tools that check a
/// configuration for another server and must leave no trace. An empty receiver ends that.
void redirectConfigErrors(std::function<void(const ConfigErrorReport&)> receiver);

/// Every message to operators goes through this function. It posts `number` with the controller's
/// number and `arguments` to the installed journal, if there is one, and writes `logLineCp866`,
/// converted to UTF-8, to the log.
/// @param arguments     those after the controller's number
/// @param logLineCp866  the whole line but its time, see controllerPrefix
void postAndLog(MessageNumber number, const std::vector<JournalArgument>& arguments,
                const std::string& logLineCp866);

/// How each log line of a message begins: "ЦП " and the controller's number; CP866.
[[nodiscard]] std::string controllerPrefix();

/// Message 18091: the server starts.
void reportStarted(const std::string& version);

/// Message 18092: the server loop starts.
/// @param modeCp866  which tags are published: "теги OA", "теги OA+HA", "теги HA" or nothing; CP866
void reportRunning(const std::string& modeCp866);

/// Message 18093: the server loop ended with a bad status. A good end is not reported.
void reportStopped();

/// Message 18094 for one of the errors 1 to 6. Only reports: the caller then sleeps (sleepForever)
/// or continues, and keeps track of lines that were already reported.
/// @param maybeLine  line in the configuration file, from 1. Required for errors 2, 4, 5 and 6; for
///                   error 3 when the number is out of range; ignored for error 1.
void reportConfigError(ConfigError error, std::optional<std::int32_t> maybeLine = std::nullopt,
                       const ConfigSubject& subject = {});

/// Error 4 for a configured attribute that the database does not describe. Its texts are encoded
/// differently from those of reportConfigError(ConfigError::attribute, line), see the source.
void reportMissingAttribute(std::int32_t line, const ConfigSubject& subject = {});
