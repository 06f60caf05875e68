#include "tools/opcuacheck/rules.h"

#include <cassert>
#include <map>
#include <optional>

#include "server/bounds/ConfigBounds.h"
#include "server/config/SectionNames.h"

namespace tools::opcuacheck {

namespace {

constexpr Severity kError = Severity::error;
constexpr Severity kWarning = Severity::warning;

// clang-format off
const std::vector<Rule> kRules{
    // ---- What the server reports itself -----------------------------------------------------
    {RuleId::fileNotOpened, "error-1", kError,
     {"файл не открывается ({0}): сервер с таким файлом не запустится",
      "the file cannot be opened ({0}): the server will not start with it"},
     {"проверьте путь и права на чтение", "check the path and the read permission"}},
    {RuleId::samplingShort, "error-2", kError,
     {"период опроса {0} мс меньше {shortest-ms} мс: вместо него сервер возьмёт цикл контроллера, {1} мс",
      "a sampling interval of {0} ms is below {shortest-ms} ms: the server takes the controller's cycle, {1} ms"},
     {"укажите от {2} до {longest-ms}, например SamplingInterval = {default-ms}",
      "give {2} to {longest-ms}, for example SamplingInterval = {default-ms}"}},
    {RuleId::samplingBelowCycle, "error-2", kError,
     {"период опроса {0} мс меньше цикла контроллера, {1} мс: значение не учитывается, остаётся прежнее (без другой настройки — {default-ms} мс)",
      "a sampling interval of {0} ms is below the controller's cycle of {1} ms: it is ignored and the previous one stays ({default-ms} ms without another setting)"},
     {"укажите от {2} до {longest-ms}, например SamplingInterval = {default-ms}",
      "give {2} to {longest-ms}, for example SamplingInterval = {default-ms}"}},
    {RuleId::samplingLong, "error-2", kError,
     {"период опроса {0} мс больше {longest-ms} мс: сервер возьмёт {longest-ms} мс",
      "a sampling interval of {0} ms is above {longest-ms} ms: the server takes {longest-ms} ms"},
     {"укажите от {2} до {longest-ms}, например SamplingInterval = {default-ms}",
      "give {2} to {longest-ms}, for example SamplingInterval = {default-ms}"}},
    {RuleId::portMissing, "error-3", kError,
     {"порт не задан: сервер не запустится", "no port is given: the server will not start"},
     {"добавьте в секцию [{general}] строку ServerPort = {first-port}", "add the line ServerPort = {first-port} to section [{general}]"}},
    {RuleId::portNoNumber, "error-3", kError,
     {"порт «{0}» — не целое число: сервер не запустится", "the port \"{0}\" is not an integer: the server will not start"},
     {"укажите число от {first-port} до {last-port}, например ServerPort = {first-port}",
      "give a number from {first-port} to {last-port}, for example ServerPort = {first-port}"}},
    {RuleId::portOutside, "error-3", kError,
     {"порт {0} вне разрешённых {first-port}–{last-port}: сервер не запустится",
      "the port {0} is outside the permitted {first-port} to {last-port}: the server will not start"},
     {"укажите число от {first-port} до {last-port}, например ServerPort = {first-port}",
      "give a number from {first-port} to {last-port}, for example ServerPort = {first-port}"}},
    {RuleId::attributeRefused, "error-4", kError,
     {"атрибут {0} у {1} публиковать нельзя: узла «{2}» не будет",
      "attribute {0} of {1} may not be exported: there will be no node \"{2}\""},
     {"выберите номер из разрешённых для {1}: {3}", "choose one of the numbers permitted for {1}: {3}"}},
    {RuleId::attributeMissing, "error-4", kError,
     {"атрибут {0} у {1} публиковать можно, но база контроллера его не описывает: узел «{2}» останется без значения",
      "attribute {0} of {1} may be exported, but the controller's database does not describe it: the node \"{2}\" will have no value"},
     {"укажите номер от 1 до {3} или удалите строку", "give a number from 1 to {3}, or delete the line"}},
    {RuleId::sectionUnknown, "error-5", kError,
     {"секция [{0}] серверу неизвестна: она не читается вместе со всеми своими ключами",
      "section [{0}] is unknown to the server: it is not read, nor is any of its keys"},
     {"исправьте имя; секции: {general}, {access}, {flat}, {group}1, {plotter}1 (с номером группы и плоттера)",
      "correct the name; the sections are {general}, {access}, {flat}, {group}1, {plotter}1 (with the number of the group or plotter)"}},
    {RuleId::sectionNear, "error-5", kError,
     {"секция [{0}] серверу неизвестна: она не читается вместе со всеми своими ключами",
      "section [{0}] is unknown to the server: it is not read, nor is any of its keys"},
     {"напишите [{1}] — именно такими буквами", "write [{1}], in exactly these letters"}},
    {RuleId::sectionNone, "error-5", kError,
     {"ключи до первой секции сервер не читает", "keys before the first section are not read"},
     {"поставьте перед ними имя секции, например [{general}]", "put a section's name before them, for example [{general}]"}},
    {RuleId::keyUnknown, "error-6", kError,
     {"ключ «{0}» в секции [{1}] серверу неизвестен и не читается",
      "key \"{0}\" is unknown to the server in section [{1}] and is not read"},
     {"исправьте или удалите; ключи этой секции: {2}", "correct or delete it; the keys of this section are {2}"}},
    {RuleId::keyNear, "error-6", kError,
     {"ключ «{0}» в секции [{1}] серверу неизвестен и не читается",
      "key \"{0}\" is unknown to the server in section [{1}] and is not read"},
     {"напишите «{2}» — именно такими буквами", "write \"{2}\", in exactly these letters"}},
    {RuleId::keyElsewhere, "error-6", kError,
     {"ключ «{0}» в секции [{1}] серверу неизвестен и не читается",
      "key \"{0}\" is unknown to the server in section [{1}] and is not read"},
     {"перенесите строку в секцию [{2}]", "move the line to section [{2}]"}},

    // ---- The file as such -------------------------------------------------------------------
    {RuleId::encodingUtf8, "encoding", kWarning,
     {"похоже, что файл записан в UTF-8: русские имена клиенты увидят искажёнными",
      "the file looks like UTF-8: clients will see Russian names garbled"},
     {"сохраните файл в кодировке CP866 (OEM 866)", "save the file in the code page CP866 (OEM 866)"}},
    {RuleId::encodingCp1251, "encoding", kWarning,
     {"похоже, что файл записан в Windows-1251: русские имена клиенты увидят искажёнными",
      "the file looks like Windows-1251: clients will see Russian names garbled"},
     {"сохраните файл в кодировке CP866 (OEM 866)", "save the file in the code page CP866 (OEM 866)"}},
    {RuleId::fileHasNul, "file-nul", kWarning,
     {"в файле нулевой байт: всё после него не читается", "the file contains a NUL byte: nothing after it is read"},
     {"удалите его; обычно файл повреждён или сохранён в UTF-16", "delete it; usually the file is damaged or was saved as UTF-16"}},
    {RuleId::lineIgnored, "line-ignored", kWarning,
     {"строка ничего не значит: в ней нет ключа и знака «=»", "the line means nothing: it has no key with \"=\""},
     {"напишите «ключ = значение» или поставьте «;» перед примечанием",
      "write \"key = value\", or put \";\" before a comment"}},
    {RuleId::headingUnclosed, "heading-unclosed", kWarning,
     {"имя секции не закрыто скобкой «]»: её ключи пропадут", "the section's name is not closed with \"]\": its keys are lost"},
     {"напишите [{0}]", "write [{0}]"}},
    {RuleId::keyRepeated, "key-repeated", kWarning,
     {"ключ «{0}» в секции [{1}] задан снова в строке {2}: значение этой строки не действует",
      "key \"{0}\" of section [{1}] is set again in line {2}: the value of this line has no effect"},
     {"оставьте одну строку; у строк атрибутов ключи должны различаться (Type1.01, Type1.02)",
      "keep one line; attribute entries need different keys (Type1.01, Type1.02)"}},
    {RuleId::keyUnused, "key-unused", kWarning,
     {"ключ «{0}» допустим, но сервер его не использует", "key \"{0}\" is accepted, but the server does not use it"},
     {"не рассчитывайте на него: защиты соединения и ограничений по пользователям у сервера нет; строку можно удалить",
      "do not rely on it: the server has neither message security nor rights per user; the line can be deleted"}},
    {RuleId::valueColon, "value-colon", kWarning,
     {"знак «:» обрывает значение: остаётся «{0}»", "\":\" ends the value: what remains is \"{0}\""},
     {"обойдитесь без «:», например {1}; примечание начинайте знаком «;»",
      "avoid \":\", for example {1}; begin a comment with \";\""}},

    // ---- General ----------------------------------------------------------------------------
    {RuleId::switchWord, "switch-word", kWarning,
     {"«{0}» — не «on» и не «off»: сервер поймёт это как «on», данные включены",
      "\"{0}\" is neither \"on\" nor \"off\": the server takes it for \"on\" and publishes the data"},
     {"напишите {1} = {2}", "write {1} = {2}"}},
    {RuleId::nameCut, "name-cut", kWarning,
     {"имя длиннее {name-bytes} знаков: от него останется «{0}»", "the name is longer than {name-bytes} characters: \"{0}\" remains"},
     {"сократите имя до {name-bytes} знаков", "shorten the name to {name-bytes} characters"}},
    {RuleId::nameBlanks, "name-blanks", kWarning,
     {"пробелы из имени удаляются: получится «{0}»", "blanks are removed from the name: it becomes \"{0}\""},
     {"напишите имя без пробелов, например AplicationName = {1}",
      "write the name without blanks, for example AplicationName = {1}"}},
    {RuleId::nameTrailingBlank, "name-trailing-blank", kWarning,
     {"пробел перед примечанием остаётся частью имени: «{0}»", "the blank before the comment stays in the name: \"{0}\""},
     {"уберите примечание с этой строки: Name = {1}", "remove the comment from this line: Name = {1}"}},
    {RuleId::samplingNoNumber, "sampling-no-number", kWarning,
     {"период опроса «{0}» — не число: он молча не учитывается, остаются {default-ms} мс",
      "the sampling interval \"{0}\" is not a number: it is silently ignored and stays {default-ms} ms"},
     {"укажите число миллисекунд, например SamplingInterval = {default-ms}",
      "give a number of milliseconds, for example SamplingInterval = {default-ms}"}},
    {RuleId::cycleNotPositive, "cycle-time", kWarning,
     {"цикл контроллера — {0} мс, и сервер возьмёт его вместо периода опроса {1} мс: клиентам, которые запрашивают самый короткий период публикации, он откажет в подписке",
      "the controller's cycle is {0} ms, and the server uses it instead of a sampling interval of {1} ms: clients that ask for the shortest publishing interval are refused a subscription"},
     {"укажите период опроса от {shortest-ms} до {longest-ms} мс и исправьте CycleTime в veskkntr.ini",
      "give a sampling interval of {shortest-ms} to {longest-ms} ms, and correct CycleTime in veskkntr.ini"}},
    {RuleId::historyCountNoNumber, "history-count", kWarning,
     {"число значений истории «{0}» — не число: сервер возьмёт 100", "the count of history values \"{0}\" is not a number: the server takes 100"},
     {"укажите от 1 до {most-values}, например CountHistoryTrends = {most-values}",
      "give 1 to {most-values}, for example CountHistoryTrends = {most-values}"}},
    {RuleId::historyCountBounds, "history-count", kWarning,
     {"число значений истории {0} вне 1–{most-values}: сервер возьмёт {1}", "a count of history values of {0} is outside 1 to {most-values}: the server takes {1}"},
     {"укажите от 1 до {most-values}, например CountHistoryTrends = {most-values}",
      "give 1 to {most-values}, for example CountHistoryTrends = {most-values}"}},
    {RuleId::numberWithRest, "number-rest", kWarning,
     {"после числа стоит лишний текст: сервер прочтёт только {0}", "text follows the number: the server reads only {0}"},
     {"напишите {1} = {0}", "write {1} = {0}"}},

    // ---- Lists of numbers -------------------------------------------------------------------
    {RuleId::listBadItem, "list-bad-item", kWarning,
     {"элемент «{0}» — не число и не диапазон, поэтому отброшен весь список: не публикуется ни один тег {1}",
      "the item \"{0}\" is neither a number nor a range, so the whole list is dropped: no {1} tag is published"},
     {"напишите, например, {1} = {2} (числа и диапазоны через запятую, у «-» без пробелов; все — all)",
      "write for example {1} = {2} (numbers and ranges separated by commas, no blanks around \"-\"; all for every tag)"}},
    {RuleId::pensBadItem, "pens-bad-item", kWarning,
     {"элемент «{0}» — не число и не диапазон, поэтому отброшен весь список: публикуются все перья плоттера, с короткими идентификаторами",
      "the item \"{0}\" is neither a number nor a range, so the whole list is dropped: all pens of the plotter are published, with short ids"},
     {"напишите, например, Pens = {2}", "write for example Pens = {2}"}},
    {RuleId::pensAll, "pens-all", kWarning,
     {"«all» в списке перьев значит то же, что пустой список: публикуются все перья, идентификаторы узлов короткие (R1_P2.VA_3)",
      "\"all\" in a list of pens means the same as an empty list: all pens are published, with short node ids (R1_P2.VA_3)"},
     {"удалите ключ Pens, если нужны все перья, иначе перечислите номера, например Pens = 1-8",
      "delete the key Pens if you want all pens; otherwise list numbers, for example Pens = 1-8"}},
    {RuleId::pensEmpty, "pens-empty", kWarning,
     {"список перьев не содержит ни одного номера: публикуются все перья плоттера",
      "the list of pens contains no number: all pens of the plotter are published"},
     {"удалите ключ Pens, если нужны все перья, иначе перечислите номера, например Pens = 1-8",
      "delete the key Pens if you want all pens; otherwise list numbers, for example Pens = 1-8"}},
    {RuleId::listEmpty, "list-empty", kWarning,
     {"список не содержит ни одного номера: теги {0} не публикуются", "the list contains no number: no {0} tag is published"},
     {"напишите {0} = all, перечислите номера или удалите строку", "write {0} = all, list numbers, or delete the line"}},
    {RuleId::rangeReversed, "range-reversed", kWarning,
     {"диапазон {0} начинается с большего числа: он ничего не добавляет", "the range {0} begins with the greater number: it adds nothing"},
     {"напишите {1}", "write {1}"}},
    {RuleId::listZero, "list-zero", kWarning,
     {"номера начинаются с 1: число 0 молча пропускается", "numbers begin with 1: 0 is silently skipped"},
     {"удалите 0 из списка", "delete 0 from the list"}},
    {RuleId::listSemicolon, "list-semicolon", kWarning,
     {"знак «;» начинает примечание: номера «{0}» не читаются", "\";\" begins a comment: the numbers \"{0}\" are not read"},
     {"разделяйте номера запятыми: {1} = {2}", "separate the numbers with commas: {1} = {2}"}},
    {RuleId::listAbsent, "list-absent", kWarning,
     {"тегов {0} с номерами {1}{2} в базе нет: они не публикуются", "the database has no {0} with the numbers {1}{2}: they are not published"},
     {"последний номер {0} — {3}", "the last number of {0} is {3}"}},
    {RuleId::listBeyond, "list-absent", kWarning,
     {"тегов {0} с номерами больше {3} не бывает: {1}{2} не публикуются", "there are no {0} tags with numbers above {3}: {1}{2} are not published"},
     {"уберите эти номера; все теги — это {0} = all", "remove these numbers; for every tag write {0} = all"}},
    {RuleId::listTooLong, "list-too-long", kWarning,
     {"список разворачивается в {0} чисел, это около {1} МБ памяти: серверу может её не хватить, и он не запустится",
      "the list expands to {0} numbers, about {1} MB of memory: the server may run out of memory and not start"},
     {"сократите диапазоны: больше {last-tag} тегов одного вида в базе не бывает; все теги — это all",
      "shorten the ranges: a database has at most {last-tag} tags of a kind; for every tag write all"}},
    {RuleId::listNoEntries, "list-no-entries", kWarning,
     {"теги {0} публикуются, но ни одного атрибута для них не задано: у клиентов будут пустые объекты",
      "{0} tags are published, but no attribute is configured for them: clients get empty objects"},
     {"добавьте в секцию [{1}] строки атрибутов, например {2}", "add attribute entries to section [{1}], for example {2}"}},

    // ---- Attribute entries ------------------------------------------------------------------
    {RuleId::entryNoComma, "entry-no-comma", kWarning,
     {"в строке атрибута нет запятой: она молча пропускается", "the attribute entry has no comma: it is silently ignored"},
     {"напишите «{0} = имя, номер атрибута, доступ», например {0} = {1}",
      "write \"{0} = name, attribute number, access\", for example {0} = {1}"}},
    {RuleId::entryNumber, "entry-number", kWarning,
     {"номер атрибута «{0}» прочитан как {1}", "the attribute number \"{0}\" is read as {1}"},
     {"напишите вторым полем только число", "write only a number in the second field"}},
    {RuleId::entryNameEmpty, "entry-name-empty", kWarning,
     {"имя атрибута пусто: узел у клиентов будет без имени", "the attribute's name is empty: clients see a node without a name"},
     {"напишите имя первым полем, например {0} = {1}", "write a name in the first field, for example {0} = {1}"}},
    {RuleId::entryMarker, "entry-marker", kWarning,
     {"ключ «{0}» не начинается ни с одной пометки вида: строка ничего не публикует",
      "key \"{0}\" does not begin with the marker of a kind: the entry publishes nothing"},
     {"начните ключ с «{1}»; пометки: Type1. VA, Type2. VD, Type3. AV, Type4. DV, Type50. RVV, Type51. RVS, Type52. RVL",
      "begin the key with \"{1}\"; the markers are Type1. VA, Type2. VD, Type3. AV, Type4. DV, Type50. RVV, Type51. RVS, Type52. RVL"}},
    {RuleId::entryPlace, "entry-place", kWarning,
     {"строка атрибута в секции [{0}] ничего не публикует", "an attribute entry in section [{0}] publishes nothing"},
     {"перенесите её в секцию [{flat}] или в секцию группы", "move it to section [{flat}] or to a group's section"}},
    {RuleId::entryUnused, "entry-unused", kWarning,
     {"ни один тег {0} здесь не публикуется, поэтому строка не действует", "no {0} tag is published here, so the entry has no effect"},
     {"добавьте в секцию [{1}] список тегов, например {2} = all, или удалите строку",
      "add a list of tags to section [{1}], for example {2} = all, or delete the line"}},
    {RuleId::entryRefused, "entry-refused", kWarning,
     {"атрибут {0} у {1} публиковать нельзя; сервер об этом не сообщает, потому что до строки не доходит",
      "attribute {0} of {1} may not be exported; the server does not report this, because it never reaches this line"},
     {"выберите номер из разрешённых для {1}: {2}", "choose one of the numbers permitted for {1}: {2}"}},
    {RuleId::entryTwice, "entry-twice", kWarning,
     {"имя «{0}» с атрибутом {1} уже есть в строке {2}: идентификатор узла тот же, второй узел не появится",
      "the name \"{0}\" with attribute {1} is already in line {2}: the node id is the same, so the second node is not made"},
     {"дайте другое имя или удалите строку", "use another name, or delete the line"}},
    {RuleId::entryTwiceLast, "entry-twice-last", kWarning,
     {"имя «{0}» с атрибутом {1} уже есть в строке {2}, и эта строка у {3} последняя: теги {3} не публикуются целиком",
      "the name \"{0}\" with attribute {1} is already in line {2}, and this entry is the last of {3}: no {3} tag is published"},
     {"дайте другое имя или удалите строку", "use another name, or delete the line"}},
    {RuleId::accessUnknown, "access-unknown", kWarning,
     {"доступ «{0}» серверу неизвестен: будет «{1}»", "the access \"{0}\" is unknown to the server: \"{1}\" is granted"},
     {"напишите {2}; допустимы OPC_READABLE, OPC_WRITEABLE, OPC_READABLE+OPC_WRITEABLE",
      "write {2}; permitted are OPC_READABLE, OPC_WRITEABLE, OPC_READABLE+OPC_WRITEABLE"}},
    {RuleId::accessReadOnly, "access-read-only", kWarning,
     {"атрибут {0} только читается: запись, о которой просит «{1}», не разрешается",
      "attribute {0} is read-only: the write access that \"{1}\" requests is not granted"},
     {"напишите OPC_READABLE", "write OPC_READABLE"}},

    // ---- Groups and plotters ----------------------------------------------------------------
    {RuleId::sectionTextInFront, "section-number", kWarning,
     {"в имени секции [{0}] перед «{1}» стоит текст, номер не читается: {2}",
      "the section's name [{0}] has text before \"{1}\", so no number is read: {3}"},
     {"напишите [{4}]", "write [{4}]"}},
    {RuleId::sectionTextBehind, "section-number", kWarning,
     {"в имени секции [{0}] за номером стоит текст, номер не читается: {2}",
      "the section's name [{0}] has text after the number, so no number is read: {3}"},
     {"напишите [{4}]", "write [{4}]"}},
    {RuleId::sectionNoNumber, "section-number", kWarning,
     {"в имени секции [{0}] нет номера плоттера: секция не действует",
      "the section's name [{0}] has no plotter number: the section has no effect"},
     {"напишите [{0}_1]", "write [{0}_1]"}},
    {RuleId::groupNameEmpty, "group-name-empty", kWarning,
     {"имя группы пусто: папка у клиентов будет без имени", "the group's name is empty: clients see a folder without a name"},
     {"напишите имя или удалите строку, тогда папка получит имя {0}",
      "write a name, or delete the line; the folder is then called {0}"}},
    {RuleId::groupNumberForm, "group-number-form", kWarning,
     {"номер группы записан не как {0}: строки атрибутов этой секции не действуют, у тегов группы не будет значений",
      "the group's number is not written as {0}: the attribute entries of this section have no effect, the group's tags get no values"},
     {"напишите [{group}{0}]", "write [{group}{0}]"}},
    {RuleId::groupPrefix, "group-prefix", kWarning,
     {"с номера группы {0} начинается и секция [{1}]: тегам группы {0} достаются строки атрибутов обеих секций",
      "the number of section [{1}] begins with the group number {0}: the tags of group {0} get the attribute entries of both sections"},
     {"выберите номера с одинаковым числом цифр, например 11 и 12 вместо 1 и 12",
      "choose numbers with the same number of digits, for example 11 and 12 instead of 1 and 12"}},
    {RuleId::groupSameNumber, "group-same-number", kWarning,
     {"номер группы {0} уже у секции [{1}]: атрибуты получит только последняя из них, здесь не будет значений",
      "section [{1}] also has the group number {0}: only the last of them gets attributes, this one has no values"},
     {"дайте группам разные номера", "give the groups different numbers"}},
    {RuleId::plotterSameNumber, "plotter-same-number", kWarning,
     {"номер плоттера {0} уже у секции [{1}]: действуют её имя и её список перьев, эта секция не действует",
      "section [{1}] already has the plotter number {0}: its name and its list of pens apply, this section has no effect"},
     {"оставьте одну секцию на плоттер", "keep one section per plotter"}},
    {RuleId::plotterSameName, "plotter-same-name", kWarning,
     {"имя «{0}» уже у плоттера {1}: второй папки не будет, и построение истории на этом остановится",
      "plotter {1} already has the name \"{0}\": there is no second folder, and no further plotter is added"},
     {"дайте плоттерам разные имена", "give the plotters different names"}},
    {RuleId::plotterNumber, "plotter-number", kWarning,
     {"плоттера с номером {0} не бывает: секция не действует", "there is no plotter with the number {0}: the section has no effect"},
     {"номера плоттеров начинаются с 1", "plotter numbers begin with 1"}},
    {RuleId::tagTwice, "tag-twice", kWarning,
     {"{0} уже публикуется секцией {1}: второй раз тег не появится (таких тегов в этом списке: {2})",
      "{0} is already published by section {1}: the tag does not appear a second time (such tags in this list: {2})"},
     {"оставьте тег в одном месте", "keep the tag in one place"}},
    {RuleId::treeTooLarge, "tree-too-large", kWarning,
     {"списки дают вместе более {0} тегов: дальнейшие проверки и дерево не выполнены",
      "the lists together contain more than {0} tags: further checks and the tree were left out"},
     {"укажите числа переменных ключом --counts или сократите списки",
      "give the numbers of variables with --counts, or shorten the lists"}},
};
// clang-format on

}  // namespace

const std::vector<Rule>& allRules() {
    return kRules;
}

const Rule& ruleOf(RuleId id) {
    const Rule& rule = kRules.at(static_cast<std::size_t>(id));
    assert(rule.id == id);
    return rule;
}

namespace {

/// Maps the names in the texts above to the sections and bounds of the configuration.
std::optional<std::string> namedValue(std::string_view name) {
    static const std::map<std::string_view, std::string> kValues{
        {"first-port", std::to_string(kFirstPort)},
        {"last-port", std::to_string(kLastPort)},
        {"shortest-ms", std::to_string(static_cast<int>(kShortestIntervalMs))},
        {"longest-ms", std::to_string(static_cast<int>(kLongestIntervalMs))},
        {"default-ms", std::to_string(static_cast<int>(kDefaultIntervalMs))},
        {"name-bytes", std::to_string(kApplicationNameBytes)},
        {"last-tag", std::to_string(kLastTagNumber)},
        {"most-values", std::to_string(kMostHistoryValues)},
        {"general", std::string(kGeneralSection)},
        {"access", std::string(kAccessSection)},
        {"flat", std::string(kFlatSection)},
        {"group", std::string(kGroupSection)},
        {"plotter", std::string(kPlotterSection)},
    };
    const auto found = kValues.find(name);
    return found == kValues.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> placeFilled(std::string_view name,
                                       const std::vector<std::string>& arguments) {
    if (name.size() != 1 || name[0] < '0' || name[0] > '9') return namedValue(name);
    const auto index = static_cast<std::size_t>(name[0] - '0');
    return index < arguments.size() ? arguments[index] : "…";
}

}  // namespace

std::string filled(std::string_view pattern, const std::vector<std::string>& arguments) {
    std::string text;
    while (!pattern.empty()) {
        const auto close = pattern.front() == '{' ? pattern.find('}') : std::string_view::npos;
        const auto place = close == std::string_view::npos
                               ? std::nullopt
                               : placeFilled(pattern.substr(1, close - 1), arguments);
        text += place.value_or(std::string(1, pattern.front()));
        pattern.remove_prefix(place ? close + 1 : 1);
    }
    return text;
}

}  // namespace tools::opcuacheck
