#include "cgi/cgi.h"
#include "settings/filled_in.h"
#include "settings/variants.h"
#include "ui/page.h"
#include "ui/settings_page.h"
#include "ui/table.h"
#include "ui/variant_panel.h"
#include "ui/variant_request.h"
#include "util/escape.h"
#include "util/strings.h"

// What a request shows.

namespace zandorin::ui {

namespace {

using settings::Column;
using settings::List;
using settings::Values;
using settings::Variant;

constexpr const char *cell_class = "field-output";
/// Where the panel of an entry is on the page.
constexpr const char *panel_id = "action-panel";

std::string capital(std::string word) {
    word[0] = static_cast<char>(word[0] - 'a' + 'A');
    return word;
}

} // namespace

void textTable(Engine &engine, const std::string &title, const std::vector<std::string> &headings,
               const std::vector<TextRow> &rows, const std::string &empty) {
    Table table(*engine.cgi());
    table.open();
    table.titleRow(title);
    if (!headings.empty()) {
        table.openRow();
        for (const std::string &heading : headings)
            table.unsafeCell("field-label", escapeXmlText(heading));
        table.closeRow();
    }
    for (const TextRow &row : rows) {
        table.openRow();
        for (const std::string &text : row.texts)
            table.unsafeCell(cell_class, escapeXmlText(text));
        for (const std::string &markup : row.markup)
            table.unsafeCell(cell_class, markup);
        table.closeRow();
    }
    if (rows.empty())
        table.textRow(empty);
    table.close();
}

std::string recordName(const ConfigManager &config, const List &list, unsigned number) {
    const std::string key = settings::RecordList(list.key, list.word).keyOf(number);
    const std::string name = config.getElement(key + list.name);
    return name.empty() ? std::string(list.singular) + " " + std::to_string(number) : name;
}

/// The page's address, with an action and what follows it when given.
std::string VariantRequest::target(const std::string &action, unsigned record,
                                   const std::string &rest) const {
    return "?form=" + engine_.formId() +
           (action.empty() ? "" : "&action=" + action + "&index=" + std::to_string(record) + rest);
}

Values VariantRequest::valuesAt(const settings::Place &place, bool submitted) const {
    return {config_, submitted ? &submission_ : nullptr, place};
}

std::string VariantRequest::cell(const List &list, const Column &column, const std::string &key,
                                 unsigned number) const {
    const std::string status = column.status == nullptr ? "" : column.status(config_, key);
    if (*column.key == '\0')
        return column.status == nullptr && hooks_.cell ? hooks_.cell(number) : status;
    const std::string_view of = column.key;
    const std::string text = of == list.variantKey ? settings::variantTitle(config_, list, key)
                             : of == list.name     ? recordName(config_, list, number)
                                                   : config_.getElement(key + column.key);
    return status.empty() ? text : text + " (" + status + ")";
}

/// The records of a list, each with its links; `linksOf(number)` answers their markup.
void VariantRequest::listTable(const List &list, const settings::RecordList &records,
                               const std::vector<std::string> &linkTitles,
                               const std::function<TextRow(unsigned)> &linksOf) {
    std::vector<TextRow> rows;
    for (const unsigned number : records.checkedNumbers(config_)) {
        rows.push_back(linksOf(number));
        for (const Column &column : list.columns)
            rows.back().texts.push_back(cell(list, column, records.keyOf(number), number));
    }
    std::vector<std::string> titles;
    for (const Column &column : list.columns)
        titles.emplace_back(column.title);
    titles.insert(titles.end(), linkTitles.begin(), linkTitles.end());
    if (&list != &list_ && rows.empty())
        titles.clear();
    textTable(engine_, list.title, titles, rows, list.empty);
    cgi_ << "<br>";
}

void VariantRequest::renderList() {
    std::vector<std::pair<const char *, const char *>> links = {{"modify", "Modify"},
                                                                {"delete", "Delete"}};
    if (hooks_.carryOut)
        links.emplace_back(hooks_.command, hooks_.commandTitle);
    std::vector<std::string> titles;
    titles.reserve(links.size());
    for (const auto &[action, title] : links)
        titles.emplace_back(title);
    listTable(list_, records_, titles, [&](unsigned number) {
        TextRow row;
        for (const auto &[action, title] : links)
            row.markup.push_back(link(target(action, number), title));
        return row;
    });
    newButton("new", "?", list_, {{"action", "edit"}});
    const Values values = shownValues(engine_, page_.sections, {});
    Form form(cgi_, engine_.formId());
    form.openForm("post", "settings", target());
    form.hiddenInput("action", "apply");
    Table table(cgi_);
    table.open();
    sectionRows(engine_, table, page_.sections, values);
    table.applyButtonRow("Save Settings");
    table.close();
    fingerprintInput(engine_, form, values);
    form.closeForm();
}

/// A form that opens the page of something new.
void VariantRequest::newButton(const std::string &formName, const std::string &action,
                               const List &list,
                               const std::vector<std::pair<std::string, std::string>> &fields) {
    Form form(cgi_, engine_.formId());
    form.openForm("get", formName, action);
    for (const auto &[name, value] : fields)
        form.hiddenInput(name, value);
    cgi_ << concat({"<input type=\"submit\" class=\"formbtn\" value=\"New ", list.singular, "\">"});
    form.closeForm();
    cgi_ << "<br>";
}

/// A form about a record: every submission carries which one, and what it was opened as.
void VariantRequest::openForm(Form &form, const std::string &formName, const std::string &command,
                              unsigned record, bool submitted) {
    form.openForm("post", formName, target());
    form.hiddenInput("action", command);
    form.hiddenInput("index", std::to_string(record));
    // A submission that was refused goes on being about what it was opened as.
    form.hiddenInput("opened", submitted ? posted("opened") : records_.hashOf(config_, record));
}

/// A question, a button that submits the command, and a way back.
void VariantRequest::renderQuestion() {
    const bool deletes = name_ == "delete";
    std::string question = deletes ? list_.question : hooks_.commandQuestion;
    if (inner_ != nullptr) {
        const std::string entry = entriesOf(index_, *inner_).keyOf(entry_);
        question =
            settings::filledIn(inner_->question, settings::variantSubject(config_, *inner_, entry));
    }
    question = settings::filledIn(question, recordName(config_, list_, index_));
    Form form(cgi_, engine_.formId());
    openForm(form, "confirm", name_, index_, false);
    if (inner_ != nullptr) {
        form.hiddenInput("list", word_);
        form.hiddenInput("modify_index", std::to_string(entry_));
    }
    Table table(cgi_);
    table.open();
    table.textRow(question);
    table.applyButtonRow(deletes ? "Delete" : concat({hooks_.commandTitle, " ", list_.singular}));
    table.close();
    form.closeForm();
    cgi_ << "<p>" + link(inner_ == nullptr ? target() : target("modify", index_), "Back") + "</p>";
}

void VariantRequest::renderRecord(unsigned record, bool submitted) {
    const settings::Place place = recordPlace(record);
    const Values values = valuesAt(place, submitted);
    Form form(cgi_, engine_.formId());
    openForm(form, list_.word, "apply", record, submitted);
    Table table(cgi_);
    table.open();
    table.titleRow(record == 0 ? std::string("New ") + list_.singular
                               : recordName(config_, list_, record));
    for (const settings::Section &section : list_.sections)
        if (&section == &list_.sections.front() || !hooks_.rows)
            fieldRows(engine_, table, section.fields, values);
        else
            hooks_.rows(table, section, values);
    table.titleRow(capital(list_.variantWord));
    const std::string typeField = place.names + list_.variantKey;
    variantRow(engine_, table, list_.variants,
               {.menu = list_.variantWord,
                .name = typeField,
                .chosen = submitted ? posted(typeField)
                                    : config_.getElement(place.keys + list_.variantKey),
                .none = list_.unchosen},
               values);
    table.applyButtonRow(std::string("Save ") + list_.singular);
    table.close();
    form.closeForm();
}

void VariantRequest::renderEdit() {
    const bool isApplied = changes_ && name_ == "apply";
    const bool submitted = isApplied && (select_ || cgi_.hasErrors());
    const bool isMade = index_ == 0 && isApplied && !submitted; // just now
    const unsigned record = isMade ? records_.next(config_) - 1 : index_;
    cgi_ << concat({"<script type=\"text/javascript\" src=\"",
                    resourcePath("/scripts/autoresponse.js"), "\"></script>"});
    renderRecord(record, submitted);
    cgi_ << "<br>";
    if (config_.getElement(records_.keyOf(record) + list_.variantKey).empty()) {
        const std::string entries = std::string(list_.lists.front().word) + "s";
        textTable(engine_, capital(entries), {}, {},
                  concat({"Please select a ", list_.variantWord, " type and save the ",
                          list_.singular, " before attempting to add ", entries}));
    } else {
        for (const List &inner : list_.lists)
            renderEntries(record, inner);
    }
    cgi_ << "<p>" + link(target(), concat({"All ", list_.singular, "s"})) + "</p>";
}

/// True when the page is to show an entry's panel: it was asked for, or what was typed in it was
/// refused.
bool VariantRequest::wantsPanel(const List &inner) const {
    if (inner_ != &inner || (changes_ && !select_ && !cgi_.hasErrors()))
        return false;
    return isNewEntry() ||
           (name_ != "delete" && entriesOf(index_, inner).contains(config_, entry_));
}

void VariantRequest::renderEntries(unsigned record, const List &inner) {
    const std::string word = wordOf(inner);
    const std::string panel = std::string("#") + panel_id;
    listTable(inner, entriesOf(record, inner), {"Modify", "Delete"}, [&](unsigned number) {
        const std::string rest = "&modify_index=" + std::to_string(number);
        return TextRow{
            .texts = {},
            .markup = {link(target(word, record, rest + panel), "Modify"),
                       link(target("delete", record, "&list=" + word + rest), "Delete")}};
    });
    if (wantsPanel(inner))
        renderPanel();
    else
        newButton(word, "?" + panel, inner,
                  {{"action", word + "_new"}, {"index", std::to_string(record)}});
}

void VariantRequest::renderPanel() {
    const settings::Place place = entryPlace();
    const Values values = valuesAt(place, changes_);
    // The link of an entry says which one, its variant is stored.
    const std::string type = isNewEntry() || changes_
                                 ? posted(typeField())
                                 : config_.getElement(place.keys + inner_->variantKey);
    const Variant *known = settings::findVariant(inner_->variants, type);
    const std::string word = capital(inner_->word);
    cgi_ << openDiv(panel_id, "", true) << closeDiv();
    Form form(cgi_, engine_.formId());
    openForm(form, inner_->word, word_ + (isNewEntry() ? "_new" : "_save"), index_, changes_);
    Table table(cgi_);
    table.open();
    if (isNewEntry()) {
        table.titleRow(std::string("New ") + inner_->singular);
        variantRow(engine_, table, inner_->variants,
                   {.menu = inner_->variantWord,
                    .name = typeField(),
                    .chosen = type,
                    .none = inner_->unchosen},
                   values);
    } else {
        table.titleRow(known == nullptr ? word : known->title);
        form.hiddenInput("modify_index", std::to_string(entry_));
        form.hiddenInput(typeField(), type);
        if (known != nullptr)
            fieldRows(engine_, table, known->fields, values);
        else
            table.textRow(inner_->noVariant);
    }
    const settings::RecordList entries = entriesOf(index_, *inner_);
    const auto last = entries.numbers(config_).size() + (isNewEntry() ? 1 : 0);
    const auto shown = isNewEntry() ? last : entries.rankOf(config_, entry_);
    const std::string position = place.names + ".position";
    const auto wanted = changes_ ? cgi_.getVarNumber(position) : 0;
    table.menuInputNumRangeRow("Position", position, 1, static_cast<int>(last),
                               wanted > 0 ? wanted : static_cast<int>(shown),
                               word + "s are started in this order, each after its own delay.");
    table.applyButtonRow("Save " + word);
    table.close();
    form.closeForm();
    cgi_ << "<br>";
}

} // namespace zandorin::ui
