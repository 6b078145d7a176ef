#pragma once

#include "cgi/cgi.h"
#include "engine/cgi_submission.h"
#include "engine/engine.h"
#include "forms/autoresponse.h"
#include "settings/page.h"
#include "settings/records.h"
#include "settings/values.h"
#include "ui/form.h"
#include "ui/table.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zandorin::autoresponse {

/// The form field with what a rule's page was made from.
inline constexpr const char *opened_field = "opened";
/// Where the panel of an action is on the page.
inline constexpr const char *panel_id = "action-panel";

/// One request to the page: what it asks for, how that is carried out, and what it shows.
class Request {
  public:
    /// Both must last as long.
    Request(Engine &engine, Cgi &cgi);

    /// Says so when a link leads to what is not there any more; carries out what was submitted.
    /// Afterwards the store holds the changes, to be written by the engine, or the request has
    /// errors and the store is as it was.
    void carryOut();
    void render();

  private:
    // What is asked for.
    bool isNewAction() const { return name_.ends_with("_new"); }
    bool hasAction();
    settings::RecordList actionsOf(unsigned rule, const settings::List &list) const;
    settings::Place rulePlace(unsigned rule) const;
    settings::Place actionPlace() const;
    std::string typeField() const { return word_ + "_action_type"; }
    std::string posted(const std::string &name) const { return cgi_.getVarString(name).raw; }

    // Submissions.
    void checkLink();
    bool isFresh();
    void saveSettings();
    void saveRule();
    void saveAction();
    void checkDevices(const settings::Variant &check, const settings::Place &place);

    // Pages.
    void renderStatus();
    void renderList();
    void renderQuestion();
    void renderEdit();
    void renderRule(unsigned rule, bool submitted);
    void renderTimes(ui::Table &table, const settings::Section &times, settings::Values values);
    void renderActions(unsigned rule, const settings::List &list);
    void renderPanel(const settings::List &list);
    bool wantsPanel(const settings::List &list);
    void openForm(ui::Form &form, const char *formName, const std::string &command, unsigned rule,
                  bool submitted);
    /// A table of all rules: `cells` writes those of one row.
    void listRules(const std::string &title, const std::vector<std::string> &headings,
                   const std::function<void(ui::Table &, unsigned, const Report &)> &cells);
    void newButton(const std::string &formName, const std::string &action, const std::string &label,
                   const std::vector<std::pair<std::string, std::string>> &fields);
    settings::Values valuesAt(const settings::Place &place, bool submitted) const;
    std::string ruleName(unsigned rule) const;
    std::string checkTitle(unsigned rule) const;
    std::string subjectOf(unsigned rule) const;

    Engine &engine_;
    Cgi &cgi_;
    ConfigManager &config_;
    const settings::Page &page_;
    const settings::List &rules_;
    settings::RecordList records_;
    CgiSubmission submission_;

    std::string name_;      ///< the variable "action": "view" when there is none
    bool changes_;          ///< came by POST; a link changes nothing
    bool select_;           ///< a type was picked by button: the page is shown with its panel
    bool hasIndex_;         ///< a rule is meant
    unsigned index_;        ///< its number; 0 is a new one, or no number
    std::string word_ = ""; ///< "trigger" or "resolve" (or what was sent) when an action is meant
    unsigned action_;       ///< its number ("modify_index"); 0 is a new one, or no number
    const settings::List *list_ = nullptr; ///< of that word
};

} // namespace zandorin::autoresponse
