#include "config-tool/catalogue.h"

#include "platform/libzandorin/config_text.h"
#include "platform/libzandorin/xml_tree.h"
#include "settings/registry.h"
#include "util/files.h"
#include "util/paths.h"

#include <algorithm>

namespace zandorin::config_tool {

namespace {

using Leaf = std::pair<std::string, std::string>;

/// Id and label of every leaf; none when the file cannot be read.
std::vector<Leaf> readLeaves() {
    std::vector<Leaf> leaves;
    const auto text = readFile(appliancePath("/home/httpd/nav.xml"));
    const auto document = platform::parseXml(text.value_or(""));
    if (!document)
        return leaves;
    for (const platform::XmlNode &branch : document->root.children)
        for (const platform::XmlNode &leaf : branch.children)
            if (const std::string *id = leaf.attribute("id"); id != nullptr)
                if (const std::string *label = leaf.attribute("label"); label != nullptr)
                    leaves.emplace_back(*id, platform::latin1FromUtf8(*label));
    return leaves;
}

} // namespace

Catalogue::Catalogue() {
    std::vector<Leaf> leaves = readLeaves();
    for (const auto &[id, packed] : settings::PageRegistry::entries())
        if (std::none_of(leaves.begin(), leaves.end(),
                         [&id = id](const Leaf &leaf) { return leaf.first == id; }))
            leaves.emplace_back(id, id);
    for (const auto &[id, label] : leaves)
        if (const settings::PackedPage *packed = settings::PageRegistry::find(id))
            pages_.push_back({.id = id, .label = label, .loaded = settings::load(*packed)});
}

std::optional<Found> Catalogue::setting(const ConfigManager &config, const std::string &key) const {
    for (const CataloguedPage &page : pages_) {
        auto part = settings::partOf(page.table(), config, key);
        if (!part || part->isNew())
            continue;
        const settings::Values values = part->values(config);
        const settings::Value *value = settings::findValue(values, key);
        if (value == nullptr)
            continue;
        return Found{.part = std::move(*part),
                     .isPassword = value->field->type == TypeName("password"),
                     .canBeSet = settings::isSingle(*value)};
    }
    return std::nullopt;
}

template <typename Holds>
std::optional<settings::Part> Catalogue::firstPart(const ConfigManager &config,
                                                   const Holds &holds) const {
    for (const CataloguedPage &page : pages_)
        for (settings::Part &part : settings::partsOf(page.table(), config))
            if (part.list != nullptr && holds(part))
                return std::move(part);
    return std::nullopt;
}

std::optional<settings::Part> Catalogue::record(const ConfigManager &config,
                                                const std::string &key) const {
    return firstPart(config, [&](const settings::Part &part) {
        return !part.isNew() && part.place.keys == key;
    });
}

std::optional<settings::Part> Catalogue::nextRecord(const ConfigManager &config,
                                                    const std::string &list) const {
    return firstPart(
        config, [&](const settings::Part &part) { return part.isNew() && part.listKey == list; });
}

} // namespace zandorin::config_tool
