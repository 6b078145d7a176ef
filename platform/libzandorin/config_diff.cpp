#include "platform/libzandorin/config_diff.h"

#include "platform/libzandorin/config_tree.h"

#include <algorithm>

namespace zandorin::platform {

namespace {

/// The two configurations, walked side by side; an element that one of them lacks is none there.
class Comparison {
  public:
    Comparison(const XmlImage &before, const XmlImage &after) : before_(before), after_(after) {}

    void walk(const std::string &key, XmlImage::Element old, XmlImage::Element present) {
        if (before_.text(old) != after_.text(present))
            found.push_back(
                {key, std::string(before_.text(old)), std::string(after_.text(present))});
        for (const XmlImage::Element child : distinctChildren(before_, old)) {
            const std::string_view name = before_.name(child);
            walk(std::string(key).append(".").append(name), child, after_.child(present, name));
        }
        for (const XmlImage::Element child : distinctChildren(after_, present)) {
            const std::string_view name = after_.name(child);
            if (before_.child(old, name) == XmlImage::none)
                walk(std::string(key).append(".").append(name), XmlImage::none, child);
        }
    }

    std::vector<ConfigChange> found;

  private:
    const XmlImage &before_;
    const XmlImage &after_;
};

} // namespace

std::vector<ConfigChange> differences(const XmlImage &before, const XmlImage &after,
                                      const std::vector<std::string_view> &keys) {
    Comparison comparison(before, after);
    for (const std::string_view key : keys)
        comparison.walk(std::string(key), findElement(before, key), findElement(after, key));
    auto &found = comparison.found;
    std::sort(found.begin(), found.end(),
              [](const auto &a, const auto &b) { return a.key < b.key; });
    // One key may stand below another.
    const auto sameKey = [](const auto &a, const auto &b) { return a.key == b.key; };
    found.erase(std::unique(found.begin(), found.end(), sameKey), found.end());
    return std::move(found);
}

} // namespace zandorin::platform
