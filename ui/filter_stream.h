#pragma once

#include <cstddef>
#include <map>
#include <streambuf>
#include <string>
#include <utility>

namespace zandorin::filtering {

/// Stream buffer in front of another one that transforms what passes, character by character, in
/// both directions: what is written goes to the target filtered, what is read comes from the target
/// filtered. An object serves one direction only, since the filter's state is one.
/// The target is not owned, must outlive the object, and may be null: a closed stream.
class filterbuf : public std::streambuf {
  public:
    explicit filterbuf(std::streambuf *target) : target_(target) {}
    filterbuf(const filterbuf &) = delete;
    filterbuf &operator=(const filterbuf &) = delete;

    /// Ends the output side: what the filter still holds back is written, and nothing more can be.
    /// False when the target did not take it, or the object was read from. Filters that hold
    /// nothing back need no call.
    bool close();

  protected:
    int_type overflow(int_type c) override;
    int sync() override;
    int_type underflow() override;

    /// Appends to `out` what stands for the character (a byte, 0 to 255), which may be nothing yet.
    virtual void filter(int character, std::string &out) = 0;
    /// Appends what is left at the end of input.
    virtual void finish(std::string &) {}

  private:
    bool flushPending();

    static constexpr std::size_t put_back_size = 4;

    std::streambuf *target_;
    std::string pending_; ///< filtered output that the target has not taken yet
    std::string input_ = std::string(put_back_size, '\0'); ///< put-back area, then the get area
    bool ended_ = false;                                   ///< the filter was told to finish
};

/// Escapes < > & for the text of an XML or HTML element.
class escapexml : public filterbuf {
  public:
    using filterbuf::filterbuf;

  protected:
    void filter(int character, std::string &out) override;
};

/// Escapes quotes of both kinds as well, for attribute values.
class escapexmlattr : public escapexml {
  public:
    using escapexml::escapexml;

  protected:
    void filter(int character, std::string &out) override;
};

/// Replaces strings, each by its own text: from left to right, the longest that starts at a
/// position; its own output is not looked at. Text that may begin a string is held back until that
/// is decided; the destructor writes what is left, so the target must still be there.
class replace : public filterbuf {
  public:
    /// From string to replacement; an empty string is never found.
    replace(std::streambuf *target, std::map<std::string, std::string> strings);
    ~replace() override { close(); }

  protected:
    void filter(int character, std::string &out) override;
    void finish(std::string &out) override;

  private:
    bool mayGrow() const;
    void resolveFirst(std::string &out);

    std::map<std::string, std::string> strings_;
    std::string held_;
};

} // namespace zandorin::filtering
