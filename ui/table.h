#pragma once

#include "ui/inputs.h"
#include "ui/unsafe_inputs.h"

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::ui {

/// The standard settings table, written to a stream as it is built: open(), rows, close(). Keeps
/// the stack of open levels (table, row, cell; a table may be opened in a cell); an operation that
/// does not fit the level on top writes an inline error in place of its markup and changes nothing.
/// Destruction closes nothing. Labels, titles and texts are escaped; `markup` parameters and
/// descriptions are written as they are.
class Table {
  public:
    /// `out` must outlive the table.
    explicit Table(std::ostream &out) : out_(out) {}

    void open(const std::string &attributes = default_attributes);
    void openRow();
    /// An empty width is 22% for class "field-label" and 78% for any other; a colspan of 0 and
    /// empty texts are left out.
    void openCell(std::string_view cssClass, int colspan = 0, std::string_view valign = "",
                  std::string_view width = "");
    void closeCell();
    void closeRow();
    void close();

    /// One whole cell of the open row.
    void cell(const std::string &cssClass, const std::string &text, const std::string &width = "");
    void unsafeCell(const std::string &cssClass, const std::string &markup,
                    const std::string &width = "");

    // Whole rows.
    void spacerRow();
    void titleRow(std::string_view title);
    void textRow(std::string_view text);
    void labelledTextRow(std::string_view label, std::string_view text);
    void textOutputRow(const std::string &label, const std::string &text,
                       const std::string &description = "");
    /// A label and any input's markup; the rows below are made of it.
    void inputRow(std::string_view label, std::string_view markup,
                  std::string_view description = "");
    void textInputRow(const std::string &label, const TextInput &input,
                      const std::string &description = "");
    void unsafeTextInputRow(const std::string &label, const UnsafeInput &input,
                            const std::string &description = "");
    void textAreaInputRow(const std::string &label, const std::string &name,
                          const std::string &value, int rows = 0, int cols = 0,
                          const std::string &description = "");
    void unsafeTextAreaInputRow(const std::string &label, const UnsafeInput &input, int rows = 0,
                                int cols = 0, const std::string &description = "");
    void radioInputRow(const std::string &label, const std::string &name,
                       const std::vector<Option> &options, const std::string &selected,
                       const std::string &description = "");
    void checkInputRow(const std::string &label, const std::string &name, bool checked,
                       const std::string &description = "");
    void menuInputRow(const std::string &label, const std::string &name,
                      const std::vector<Option> &options, const std::string &selected,
                      const std::string &description = "");
    void menuInputNumRangeRow(const std::string &label, const std::string &name, int from, int to,
                              int selected, const std::string &description = "");
    void applyButtonRow(const std::string &label = "Apply");

    /// The heading of a collapsible section, a row of its own; sectionBody and closeSection of
    /// ui/page.h go around what it folds.
    void openSection(const std::string &id, const std::string &title, bool collapsed);

    static constexpr const char *default_attributes =
        " border='0' cellpadding='6' cellspacing='0' class='form-table' width='100%'";

  private:
    enum class Level { table, row, cell };

    bool top(Level level) const { return !levels_.empty() && levels_.back() == level; }
    void misuse(std::string_view message);
    void row(std::string_view label, std::string_view cssClass, std::string_view markup);
    void spanningRow(std::string_view cssClass, std::string_view markup);

    std::ostream &out_;
    std::vector<Level> levels_;
};

} // namespace zandorin::ui
