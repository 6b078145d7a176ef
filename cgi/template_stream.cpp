#include "cgi/template_stream.h"

#include "util/log.h"

#include <sstream>
#include <stdexcept>
#include <utility>

namespace zandorin::cgi {

namespace {

constexpr std::string_view call_marker = "CGI_CALL(";

/// The pieces between commas, empty ones included.
std::vector<std::string> split(std::string_view text) {
    ZANDORIN_TRACE();
    std::vector<std::string> pieces;
    for (;;) {
        const auto comma = text.find(',');
        pieces.emplace_back(text.substr(0, comma));
        if (comma == std::string_view::npos)
            return pieces;
        text.remove_prefix(comma + 1);
    }
}

} // namespace

FileStreamBuffer::FileStreamBuffer(std::FILE *file) : file_(file) {}

FileStreamBuffer::~FileStreamBuffer() {
    if (file_ != nullptr)
        std::fflush(file_);
}

void FileStreamBuffer::addReplaceable(const std::string &name, const std::string &text) {
    if (!name.empty())
        replaceables_[name] = text;
}

void FileStreamBuffer::addReplaceable(const std::string &name, TemplateFunction function) {
    functions_[name] = function;
}

FileStreamBuffer::int_type FileStreamBuffer::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof()) || file_ == nullptr ||
        std::fputc(c, file_) == EOF)
        return traits_type::eof();
    return c;
}

std::streamsize FileStreamBuffer::xsputn(const char *s, std::streamsize n) {
    if (logEnabled(Priority::trace))
        logRecord(Priority::trace, "%s:%d FileStreamBuffer::xsputn(%u) replace: %d", __func__,
                  __LINE__, static_cast<unsigned>(n), replace_ ? 1 : 0);
    if (file_ == nullptr || n <= 0)
        return 0;
    const auto size = static_cast<std::size_t>(n);
    if (!replace_)
        return static_cast<std::streamsize>(std::fwrite(s, 1, size, file_));
    const std::string text = processVars(processFuncs({s, size}));
    std::fwrite(text.data(), 1, text.size(), file_);
    return n;
}

int FileStreamBuffer::sync() {
    return file_ == nullptr || std::fflush(file_) == 0 ? 0 : -1;
}

TemplateFunction FileStreamBuffer::functionOf(std::string_view name) const {
    if (const auto added = functions_.find(name); added != functions_.end())
        return added->second;
    return findFunction_ == nullptr ? nullptr : findFunction_(name);
}

std::string FileStreamBuffer::processFuncs(std::string_view text) {
    ZANDORIN_TRACE();
    // The navigation panel and what else a call answers: rarely more, and unused memory costs
    // nothing.
    constexpr std::size_t usual_answers = 8192;
    std::string output;
    output.reserve(text.size() + usual_answers);
    for (;;) {
        const auto marker = text.find(call_marker);
        output += text.substr(0, marker);
        if (marker == std::string_view::npos)
            return output;
        text.remove_prefix(marker + call_marker.size());
        const auto end = text.find(')');
        if (end == std::string_view::npos) {
            logRecord(Priority::error, "Malformed CGI_CALL()");
            throw std::out_of_range("unclosed CGI_CALL");
        }
        std::vector<std::string> arguments = split(text.substr(0, end));
        text.remove_prefix(end + 1);
        const TemplateFunction function = functionOf(arguments.front());
        if (function == nullptr)
            continue;
        arguments.erase(arguments.begin());
        output += function(argument_, arguments);
    }
}

std::string FileStreamBuffer::processVars(std::string text) const {
    ZANDORIN_TRACE();
    for (const auto &[name, replacement] : replaceables_) {
        std::size_t done = 0;
        std::size_t replaced = 0;
        for (auto found = text.find(name); found != std::string::npos;
             found = text.find(name, done)) {
            logRecord(Priority::debug, "VARIABLE: %s", name.c_str());
            text.replace(found, name.size(), replacement);
            done = found + replacement.size();
            ++replaced;
        }
        // Names of nothing, with nothing before them, stay in the text.
        for (; done == 0 && replaced > 0; --replaced)
            text.insert(0, name);
    }
    return text;
}

FileOutputStream::FileOutputStream() : std::ostream(nullptr) {}

FileOutputStream::FileOutputStream(std::FILE *file) : std::ostream(nullptr) {
    setFile(file);
}

FileOutputStream::~FileOutputStream() {
    rdbuf(nullptr);
}

void FileOutputStream::setFile(std::FILE *file) {
    ZANDORIN_TRACE();
    rdbuf(nullptr);
    buffer_ = std::make_unique<FileStreamBuffer>(file);
    rdbuf(buffer_.get());
}

void FileOutputStream::setReplaceEnabled(bool enabled) {
    ZANDORIN_TRACE();
    if (buffer_)
        buffer_->setReplaceEnabled(enabled);
}

void FileOutputStream::setArgument(void *argument) {
    ZANDORIN_TRACE();
    if (buffer_)
        buffer_->setArgument(argument);
}

void FileOutputStream::addReplaceable(const std::string &name, const std::string &text) {
    ZANDORIN_TRACE();
    if (buffer_)
        buffer_->addReplaceable(name, text);
}

void FileOutputStream::addReplaceable(const std::string &name, TemplateFunction function) {
    ZANDORIN_TRACE();
    if (buffer_)
        buffer_->addReplaceable(name, function);
}

void FileOutputStream::setFunctionFinder(TemplateFunctionFinder finder) {
    ZANDORIN_TRACE();
    if (buffer_)
        buffer_->setFunctionFinder(finder);
}

void FileOutputStream::write(std::istream &input, bool replace) {
    std::ostringstream text;
    text << input.rdbuf();
    write(text.view(), replace);
}

void FileOutputStream::write(std::string_view text, bool replace) {
    if (logEnabled(Priority::trace))
        logRecord(Priority::trace, "%s:%d write(replace = %d)", __func__, __LINE__,
                  replace ? 1 : 0);
    if (!buffer_)
        return;
    const bool before = buffer_->replaceEnabled();
    buffer_->setReplaceEnabled(replace);
    std::ostream::write(text.data(), static_cast<std::streamsize>(text.size()));
    buffer_->setReplaceEnabled(before);
}

} // namespace zandorin::cgi
