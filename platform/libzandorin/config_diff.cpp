#include "platform/libzandorin/config_diff.h"

#include "platform/libzandorin/config_text.h"
#include "platform/libzandorin/config_tree.h"

#include <map>
#include <utility>

namespace zandorin::platform {

namespace {

using Texts = std::pair<std::string, std::string>; // before and after, UTF-8
using Differences = std::map<std::string, Texts>;

/// Adds every value at or below the element as one side of its key.
void gather(const XmlNode &element, const std::string &key, std::string Texts::*side,
            Differences &found) {
    if (std::string text = element.text(); !text.empty())
        found[key].*side = std::move(text);
    for (const XmlNode *child : distinctChildren(element))
        gather(*child, key + '.' + child->value, side, found);
}

} // namespace

std::vector<ConfigChange> differences(const XmlNode &before, const XmlNode &after) {
    Differences found;
    gather(before, "config", &Texts::first, found);
    gather(after, "config", &Texts::second, found);
    std::vector<ConfigChange> result;
    for (const auto &[key, texts] : found)
        if (texts.first != texts.second)
            result.push_back(
                {latin1FromUtf8(key), latin1FromUtf8(texts.first), latin1FromUtf8(texts.second)});
    return result;
}

} // namespace zandorin::platform
