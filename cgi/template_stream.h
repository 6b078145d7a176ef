#pragma once

#include <cstdio>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::cgi {

/// A function that a template calls as CGI_CALL(name,argument,...): receives the stream's context
/// pointer and the arguments, answers the text that stands in the call's place.
using TemplateFunction = std::string (*)(void *argument, std::vector<std::string> &arguments);

/// Answers the template function of that name, or null.
using TemplateFunctionFinder = TemplateFunction (*)(std::string_view name);

/// Stream buffer over a FILE that expands, when switched on, template calls and replaceable names
/// in what is written (docs/templates.md has the grammar). It has no put area: each insertion into
/// the stream is one write, and a marker is recognised only inside one write.
class FileStreamBuffer : public std::streambuf {
  public:
    /// `file` is not owned, must outlive the buffer, and may be null.
    explicit FileStreamBuffer(std::FILE *file);
    /// Flushes the file, never closes it.
    ~FileStreamBuffer() override;
    FileStreamBuffer(const FileStreamBuffer &) = delete;
    FileStreamBuffer &operator=(const FileStreamBuffer &) = delete;

    bool replaceEnabled() const { return replace_; }
    void setReplaceEnabled(bool enabled) { replace_ = enabled; }
    /// The context handed to every template function; not owned.
    void setArgument(void *argument) { argument_ = argument; }
    /// A later text or function of the same name takes the place of the earlier.
    void addReplaceable(const std::string &name, const std::string &text);
    void addReplaceable(const std::string &name, TemplateFunction function);
    /// Whom to ask for a function that was not added: a table needs no copy in each stream.
    void setFunctionFinder(TemplateFunctionFinder finder) { findFunction_ = finder; }

  protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char *s, std::streamsize n) override;
    int sync() override;

  private:
    TemplateFunction functionOf(std::string_view name) const;
    std::string processFuncs(std::string_view text);
    std::string processVars(std::string text) const;

    bool replace_ = false;
    std::map<std::string, std::string> replaceables_;
    std::map<std::string, TemplateFunction, std::less<>> functions_;
    TemplateFunctionFinder findFunction_ = nullptr;
    void *argument_ = nullptr;
    std::FILE *file_;
};

/// Output stream that owns a FileStreamBuffer, or has none: then every operation is without effect.
class FileOutputStream : public std::ostream {
  public:
    FileOutputStream();
    explicit FileOutputStream(std::FILE *file);
    ~FileOutputStream() override;
    FileOutputStream(const FileOutputStream &) = delete;
    FileOutputStream &operator=(const FileOutputStream &) = delete;

    /// Writes to `file` from now on, through a new buffer: what was registered with the old one
    /// is gone.
    void setFile(std::FILE *file);
    void setReplaceEnabled(bool enabled);
    void setArgument(void *argument);
    void addReplaceable(const std::string &name, const std::string &text);
    void addReplaceable(const std::string &name, TemplateFunction function);
    void setFunctionFinder(TemplateFunctionFinder finder);

    /// Writes the whole input in one piece, markers expanded when `replace` is true. An unclosed
    /// call leaves the stream bad: nothing written afterwards reaches the file.
    void write(std::istream &input, bool replace);
    void write(std::string_view text, bool replace);
    using std::ostream::write;

  private:
    std::unique_ptr<FileStreamBuffer> buffer_;
};

} // namespace zandorin::cgi
