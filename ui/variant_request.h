#pragma once

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "settings/records.h"
#include "ui/form.h"
#include "ui/variant_page.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zandorin::ui {

/// One request to a page of ui/variant_page.h: what it asks for, how that is carried out, and what
/// it shows.
class VariantRequest {
  public:
    /// All must last as long.
    VariantRequest(Engine &engine, Cgi &cgi, const VariantHooks &hooks);

    /// Says so when a link leads to what is not there any more; carries out what was submitted.
    /// Afterwards the store holds the changes, to be written by the engine, or the request has
    /// errors and the store is as it was.
    void carryOut();
    void render();

  private:
    // What is asked for.
    bool isNewEntry() const { return name_.ends_with("_new"); }
    bool isCommand() const { return hooks_.carryOut && name_ == hooks_.command; }
    bool hasEntry();
    settings::RecordList entriesOf(unsigned record, const settings::List &inner) const;
    settings::Place recordPlace(unsigned record) const;
    settings::Place entryPlace() const;
    std::string typeField() const { return word_ + "_action_type"; }
    std::string posted(const std::string &name) const { return cgi_.getVarString(name).raw; }
    std::string noun() const;

    // Submissions.
    void checkLink();
    bool isFresh();
    void saveSettings();
    void saveRecord();
    void saveEntry();

    // Pages.
    void renderList();
    void renderQuestion();
    void renderEdit();
    void renderRecord(unsigned record, bool submitted);
    void renderEntries(unsigned record, const settings::List &inner);
    void renderPanel();
    bool wantsPanel(const settings::List &inner) const;
    std::string target(const std::string &action = "", unsigned record = 0,
                       const std::string &rest = "") const;
    std::string cell(const settings::List &list, const settings::Column &column,
                     const std::string &key, unsigned number) const;
    void openForm(Form &form, const std::string &formName, const std::string &command,
                  unsigned record, bool submitted);
    void listTable(const settings::List &list, const settings::RecordList &records,
                   const std::vector<std::string> &linkTitles,
                   const std::function<TextRow(unsigned)> &linksOf);
    void newButton(const std::string &formName, const std::string &action,
                   const settings::List &list,
                   const std::vector<std::pair<std::string, std::string>> &fields);
    settings::Values valuesAt(const settings::Place &place, bool submitted) const;

    Engine &engine_;
    Cgi &cgi_;
    ConfigManager &config_;
    const VariantHooks &hooks_;
    const settings::Page &page_;
    const settings::List &list_;
    settings::RecordList records_;
    CgiSubmission submission_;

    std::string name_;      ///< the variable "action": "view" when there is none
    bool changes_;          ///< came by POST; a link changes nothing
    bool select_;           ///< a variant was picked by button: the page is shown with its panel
    bool hasIndex_;         ///< a record is meant
    unsigned index_;        ///< its number; 0 is a new one, or no number
    std::string word_ = ""; ///< of a list inside the record (or what was sent), for an entry of it
    unsigned entry_;        ///< its number ("modify_index"); 0 is a new one, or no number
    const settings::List *inner_ = nullptr; ///< of that word
};

/// The first word of the key of a list inside a record: "trigger" of ".trigger_actions".
std::string wordOf(const settings::List &inner);

} // namespace zandorin::ui
