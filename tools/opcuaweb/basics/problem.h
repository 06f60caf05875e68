#pragma once

#include <string_view>

#include "tools/text/language.h"

namespace tools::opcuaweb {

/// Why a request is refused: status and word for programs, texts for people.
struct Problem {
    int status;
    std::string_view code;
    Text text;
};

inline constexpr Problem kUnknownPath{
    404, "unknown-path", {"Такой страницы нет", "There is no such page"}};
inline constexpr Problem kUnreadableRequest{
    400, "unreadable-request", {"Запрос не разобран", "The request cannot be read"}};
inline constexpr Problem kBadRequest{
    400, "bad-request", {"В запросе не то, что ожидалось", "The request lacks what is expected"}};
inline constexpr Problem kTooLarge{
    413, "too-large", {"Запрос слишком велик", "The request is too large"}};
inline constexpr Problem kInternal{500, "internal", {"Внутренняя ошибка", "Internal error"}};
inline constexpr Problem kPasswordNeeded{
    401, "password-needed", {"Нужны имя и пароль", "Name and password are needed"}};
inline constexpr Problem kTooManyAttempts{
    429, "too-many-attempts", {"Слишком много попыток входа", "Too many attempts to log in"}};
inline constexpr Problem kOtherOrigin{
    403, "other-origin", {"Запрос пришёл с чужой страницы", "The request comes from another page"}};
inline constexpr Problem kOtherHost{403,
                                    "other-host",
                                    {"Программа открывается только по адресу этой машины",
                                     "The program is opened by an address of this machine only"}};
inline constexpr Problem kTooManyBrowsers{
    503, "too-many-browsers", {"Открыто слишком много страниц", "Too many pages are open"}};
inline constexpr Problem kUnknownBrowser{
    404,
    "unknown-browser",
    {"Поток событий этой страницы закрыт", "The event stream of this page is closed"}};
inline constexpr Problem kTooManyNodes{
    413, "too-many-nodes", {"Слишком много узлов", "Too many nodes"}};
inline constexpr Problem kBadNode{
    400, "bad-node", {"Это не идентификатор узла", "This is not a node id"}};
inline constexpr Problem kNoConnection{
    503, "no-connection", {"Нет связи с сервером OPC UA", "No connection to the OPC UA server"}};
inline constexpr Problem kServerRefuses{502,
                                        "server-refuses",
                                        {"Сервер OPC UA отклонил запрос к этому узлу",
                                         "The OPC UA server refuses requests for this node"}};
inline constexpr Problem kBusy{
    503, "busy", {"Слишком много запросов сразу", "Too many requests at a time"}};
inline constexpr Problem kNoJournal{404,
                                    "no-journal",
                                    {"Журнал не показывается: нет ключа --journal",
                                     "The journal is not shown: --journal was not given"}};
inline constexpr Problem kJournalGone{
    503,
    "journal-gone",
    {"Журнал в памяти не читается: контроллер не работает",
     "The journal in memory cannot be read: the controller does not run"}};
inline constexpr Problem kNoConfiguration{
    404,
    "no-configuration",
    {"Конфигурация не показывается: нет ключа --config",
     "The configuration is not shown: --config was not given"}};
inline constexpr Problem kConfigurationUnreadable{
    503,
    "configuration-unreadable",
    {"Файл конфигурации не читается или больше 4 МиБ",
     "The configuration file cannot be read or is larger than 4 MiB"}};
inline constexpr Problem kWritesOff{
    403,
    "writes-off",
    {"Запись выключена: нет ключа --allow-writes", "Writing is off: --allow-writes was not given"}};
inline constexpr Problem kNotConfirmed{
    400, "not-confirmed", {"Запись не подтверждена", "The write is not confirmed"}};
inline constexpr Problem kBadValue{
    422,
    "bad-value",
    {"Значение не подходит к типу переменной", "The value does not fit the variable's type"}};
inline constexpr Problem kMatrix{422,
                                 "matrix",
                                 {"Массивы нескольких измерений программа не записывает",
                                  "The program does not write arrays of several dimensions"}};
inline constexpr Problem kNoValue{422,
                                  "no-value",
                                  {"Тип переменной неизвестен: у неё нет значения",
                                   "The variable's type is unknown: it has no value"}};

}  // namespace tools::opcuaweb
