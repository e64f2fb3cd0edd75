#include "base/Field.h"
#include "base/NodeType.h"
#include "player/commands/Commands.h"
#include "player/commands/LogOutput.h"
#include "player/commands/OutputFile.h"
#include "player/commands/Tables.h"
#include "player/playing/PoolLoader.h"
#include "player/scene/DidYouMean.h"
#include "player/scene/Scene.h"
#include "player/scene/Utf8.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <functional>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace Zelvan::play {

namespace {

struct TypesOptions {
    std::string name;
    bool markdown = false;
};

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// All registered types, each before those below it, siblings by name.
void forEachType(std::function<void(NodeType& type, unsigned depth)> const& visit)
{
    auto types = theSceneNodeTypeFactory().types();
    std::sort(types.begin(), types.end(), [](auto a, auto b) { return a->_name < b->_name; });
    auto const below = [&](auto const& self, NodeType const* parent, unsigned depth) -> void {
        for (NodeType* const type : types)
            if (type->parent() == parent) {
                visit(*type, depth);
                self(self, type, depth + 1);
            }
    };
    below(below, nullptr, 0);
}

// What a field holds when nothing sets it, in the syntax of a scene; "" for fields that only carry events.
std::string defaultText(NodePartDesc const& part)
{
    auto const field = makeField(part._dataType);
    if ((part._type & initializeOnly) == 0 || field == nullptr)
        return "";
    if (part._defaultValue != nullptr && !field->setValueByStr(part._defaultValue, Field::multiple))
        return part._defaultValue;
    if (field->cardinality() == Field::multiple && field->empty())
        return "[]";
    std::string const text = field->getValueAsStr();
    return text.empty() ? "\"\"" : text;
}

bool restrictsValues(std::vector<NodePartDesc const*> const& parts)
{
    return std::any_of(parts.begin(), parts.end(), [](auto part) { return part->_allowedValues != nullptr; });
}

char const* orEmpty(char const* text)
{
    return text ? text : "";
}

void writeTree(std::ostream& out, bool styled)
{
    Table table({"type", "kind", "alias", "status", "standard"});
    forEachType([&](NodeType const& type, unsigned depth) {
        table.row({std::string(2 * depth, ' ') + type._name, type._createNode ? "" : "abstract", type._aliasName, type._status,
                   type._standard});
    });
    table.write(out, styled);
}

void writeType(std::ostream& out, NodeType& type, bool styled)
{
    out << type._name << ": " << (type._createNode ? "" : "abstract, ") << type._status << ", " << type._standard
        << ", component " << type._componentName << " of " << type._poolName << '\n';
    if (!type._aliasName.empty())
        out << "Also created for " << type._aliasName << ".\n";
    else if (NodeType const* const concrete = type.creatableType(); concrete != nullptr && concrete != &type)
        out << "A scene's " << type._name << " becomes a " << concrete->_name << ".\n";
    std::string chain;
    for (NodeType const* parent = type.parent(); parent != nullptr; parent = parent->parent())
        chain += (chain.empty() ? "Derived from " : ", ") + parent->_name;
    if (!chain.empty())
        out << chain << ".\n";
    out << '\n';
    for (std::string const& line : wrapped(type._description, pageWidth))
        out << line << '\n';
    out << '\n';

    auto const parts = type.allParts();
    bool const restricts = restrictsValues(parts);
    std::vector<std::string> headings{">index", "name", "type", "access", "default"};
    if (restricts)
        headings.push_back("allowed values");
    headings.push_back("description");
    Table table(headings);

    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> widths(headings.size() - 1);
    std::transform(headings.begin(), headings.end() - 1, widths.begin(), characters);
    for (NodePartDesc const* const part : parts) {
        rows.push_back({std::to_string(part->_index), part->_name, dataTypeName(part->_dataType), accessName(part->_type),
                        defaultText(*part)});
        if (restricts)
            rows.back().push_back(orEmpty(part->_allowedValues));
        for (std::size_t c = 0; c < widths.size(); ++c)
            widths[c] = std::max(widths[c], characters(rows.back()[c]));
    }
    std::size_t const used = std::accumulate(widths.begin(), widths.end(), 2 * widths.size());
    std::size_t const rest = std::max<std::size_t>(pageWidth - std::min(used, pageWidth), 24);
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (std::string const& line : wrapped(orEmpty(parts[r]->_description), rest)) {
            rows[r].push_back(line);
            table.row(rows[r]);
            rows[r].assign(widths.size(), ""); // the following lines hold only text
        }
    table.write(out, styled);
}

std::string markdownText(std::string const& text)
{
    std::string escaped;
    for (char const c : text) {
        if (c == '|' || c == '*' || c == '<' || c == '\\' || c == '`')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string markdownLink(std::string const& typeName)
{
    return '[' + typeName + "](#" + lowerCase(typeName) + ')';
}

std::string markdownCode(std::string const& text)
{
    return text.empty() ? "" : '`' + text + '`';
}

void writeMarkdown(std::ostream& out)
{
    out << "# Node types\n\n"
           "Written by `zelvan-play types --markdown` from the records of the types; not edited by hand.\n\n";
    forEachType([&](NodeType const& type, unsigned depth) {
        out << std::string(2 * depth, ' ') << "- " << markdownLink(type._name) << (type._createNode ? "" : " (abstract)")
            << '\n';
    });
    forEachType([&](NodeType& type, unsigned) {
        out << "\n## " << type._name << "\n\n" << markdownText(type._description) << "\n\n";
        out << "- Status: " << type._status << "; standard: " << type._standard << "; component: " << type._componentName
            << " of " << type._poolName << '\n';
        if (NodeType const* const parent = type.parent())
            out << "- Parent: " << markdownLink(parent->_name) << '\n';
        if (!type._aliasName.empty())
            out << "- Alias: " << markdownCode(type._aliasName) << '\n';
        if (NodeType const* const concrete = type.creatableType(); concrete == nullptr)
            out << "- Abstract: scenes cannot create it\n";
        else if (concrete != &type)
            out << "- Abstract: a scene's " << markdownCode(type._name) << " becomes a " << markdownLink(concrete->_name)
                << '\n';
        auto const parts = type.allParts();
        bool const restricts = restrictsValues(parts);
        out << "\n| Index | Field | Type | Access | Default |" << (restricts ? " Allowed values |" : "")
            << " Declared by | Description |\n|---:|---|---|---|---|" << (restricts ? "---|" : "") << "---|---|\n";
        for (NodePartDesc const* const part : parts) {
            NodeType const* owner = &type;
            while (owner->findOwnPart(part->_index) != part)
                owner = owner->parent();
            out << "| " << part->_index << " | " << markdownCode(part->_name) << " | " << dataTypeName(part->_dataType) << " | "
                << accessName(part->_type) << " | " << markdownCode(defaultText(*part)) << " | ";
            if (restricts)
                out << markdownText(orEmpty(part->_allowedValues)) << " | ";
            out << (owner == &type ? owner->_name : markdownLink(owner->_name)) << " | "
                << markdownText(orEmpty(part->_description)) << " |\n";
        }
    });
}

// A type that was probably meant, or some whose names contain this one, whatever the case.
std::string closeNames(std::string const& name)
{
    constexpr std::size_t mostNames = 4, shortest = 3;
    std::string const wanted = lowerCase(name);
    DidYouMean meant(name);
    std::string names;
    std::size_t count = 0;
    for (NodeType const* const type : theSceneNodeTypeFactory().types()) {
        meant.offer(type->_name);
        if (wanted.size() >= shortest && lowerCase(type->_name).find(wanted) != std::string::npos && count++ < mostNames)
            names += (names.empty() ? "; there is " : ", ") + type->_name;
    }
    return !meant.nearest().empty() ? meant.text() : !names.empty() ? names : "; \"zelvan-play types\" lists them all";
}

void types(Session const& session, TypesOptions const& options)
{
    showLog(session.logLevel, session.logGiven);
    for (PoolCandidate const& candidate : loadPool(session.pool))
        if (candidate.asked || candidate.refusal.empty())
            std::cerr << "pool: "
                      << printable(candidate.file + (candidate.refusal.empty() ? "" : ": not taken: ") + candidate.refusal)
                      << '\n';

    OutputFile out("-");
    bool const styled = styledOutput(STDOUT_FILENO);
    if (options.markdown) {
        writeMarkdown(out.stream());
    } else if (options.name.empty()) {
        writeTree(out.stream(), styled);
    } else {
        NodeType* const type = NodeTypeNameSpace::findType(&theSceneNodeTypeFactory(), options.name, searchExact);
        if (type == nullptr)
            throw Failure(exitUsage, "no node type is named \"" + printable(options.name) + '"' + closeNames(options.name));
        writeType(out.stream(), *type, styled);
    }
    out.commit();
}

} // namespace

void addTypesCommand(CLI::App& app, Session& session)
{
    auto const options = std::make_shared<TypesOptions>();
    CLI::App& command = *app.add_subcommand("types", "List the node types, or the fields of one");
    auto* const name = command.add_option("name", options->name, "a node type")->option_text("NAME");
    command.add_flag("--markdown", options->markdown, "the whole reference as Markdown")->excludes(name);
    command.footer("Which pool library was loaded, and why those that were asked for were not, goes to standard error.\n"
                   "Examples:\n"
                   "  zelvan-play types\n"
                   "  zelvan-play types ScalarInterpolator\n"
                   "  ZELVAN_PLUGIN_PATH=$HOME/pools zelvan-play types");
    command.callback([&session, options] { types(session, *options); });
}

} // namespace Zelvan::play
