#include "player/reading/SceneFiles.h"

#include "player/reading/ClassicSyntax.h"
#include "player/reading/XmlSyntax.h"
#include "player/scene/Escape.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace Zelvan::play {

std::vector<std::string> quotedStrings(std::string_view text)
{
    std::vector<std::string> strings;
    for (auto at = text.find('"'); at != std::string_view::npos; at = text.find('"', at)) {
        std::string string;
        for (++at; at < text.size() && text[at] != '"'; ++at) {
            if (text[at] == '\\' && at + 1 < text.size())
                ++at;
            string += text[at];
        }
        strings.push_back(std::move(string));
        at = std::min(at + 1, text.size());
    }
    if (strings.empty() && !text.empty())
        strings.emplace_back(text);
    return strings;
}

namespace {
/// What an Inline may lead to that is no scene in X3D's sense; empty for all else.
std::string_view foreignFormat(std::string_view url)
{
    constexpr std::string_view formats[][2] = {{".gltf", "glTF"}, {".glb", "glTF"}, {".obj", "Wavefront OBJ"},
                                               {".stl", "STL"},   {".ply", "PLY"},  {".dae", "COLLADA"},
                                               {".fbx", "FBX"}};
    for (auto const& [suffix, format] : formats)
        if (url.size() > suffix.size()
            && std::ranges::equal(url.substr(url.size() - suffix.size()), suffix, {},
                                  [](unsigned char c) { return std::tolower(c); }))
            return format;
    return {};
}

/// By its first bytes; "" when browsers do not show it.
std::string_view pictureKind(std::string_view bytes)
{
    return bytes.starts_with("\x89PNG")                                      ? "png"
        : bytes.starts_with("\xff\xd8\xff")                                  ? "jpeg"
        : bytes.starts_with("GIF8")                                          ? "gif"
        : bytes.starts_with("RIFF") && bytes.substr(0, 12).ends_with("WEBP") ? "webp"
                                                                             : "";
}

} // namespace

SceneFile::SceneFile(OpenedFile const& opened, ReadLimits const& limits, std::string const* bytes)
    : source(opened, limits, bytes), tree(limits), name(opened.name), folder(opened.folder)
{}

SceneFile& SceneFiles::openScene(std::string const& path)
{
    OpenedFile const opened = _local.openScene(path, _budget.limits().root);
    SceneFile& file = load(opened);
    _byIdentity[opened.identity].file = &file;
    return file;
}

SceneFile& SceneFiles::load(OpenedFile const& opened)
{
    ReadLimits const& limits = _budget.limits();
    bool const isEdited = _edited != nullptr && _edited->contains(opened.name);
    auto file = std::make_unique<SceneFile>(opened, limits, isEdited ? &_edited->at(opened.name) : nullptr);
    if (std::size_t const most = 8 * std::size_t(limits.elements); file->source.lines() - 1 > most)
        throw Failure(exitScene,
                      file->name + ": error: more than " + std::to_string(most) + " lines (--max-elements raises the limit)");
    file->number = _scene.addFile(file->name, file->source.layout());
    if (auto const offset = file->source.firstLatin1())
        _diagnostics.warning(_scene.place(Location{file->number, *offset}), kinds::notUtf8,
                             "expected UTF-8 text, found a byte that does not fit in; the file is read as Latin-1");
    auto const tellOddities = [&] {
        for (ElementTree::Oddity const& oddity : file->tree.oddities())
            _diagnostics.warning(_scene.place(Location{file->number, oddity.offset}), kinds::looseSyntax, oddity.what);
    };
    try {
        if (file->source.syntax() == SourceFile::Syntax::classic)
            readClassic(file->source.data(), file->source.size(), file->tree);
        else
            parseXml(file->source.data(), file->source.size(), limits, file->tree);
    } catch (SyntaxError const& error) {
        tellOddities(); // one of them may be where it began
        refuse(*file, error);
    }
    tellOddities();
    for (ElementTree::Comment const& comment : file->tree.comments())
        _scene.remarks.push_back({{file->number, comment.offset}, std::string(comment.text)});
    file->units = Units::of(file->tree.root());
    return *_files.emplace_back(std::move(file));
}

void SceneFiles::giveTexts()
{
    for (auto const& file : _files) {
        std::size_t const size = file->source.size();
        _scene.keepText(file->number, file->source.release(), size);
    }
}

void SceneFiles::refuse(SceneFile const& file, SyntaxError const& error) const
{
    auto const place = [&](std::uint32_t offset) { return _scene.place(Location{file.number, offset}); };
    std::string text =
        (error.offset == SyntaxError::none ? file.name : place(error.offset).text()) + ": error: " + error.what();
    if (error.beginning != SyntaxError::none) {
        Place const begin = place(error.beginning);
        text += " (opened at " + std::to_string(begin.line) + ':' + std::to_string(begin.column) + ')';
    }
    throw Failure(exitScene, text);
}

SceneFile* SceneFiles::find(std::string_view urls, SceneFile& from, Location where, char const* kind, std::string* fragment)
{
    constexpr std::size_t shown = 5;
    std::vector<Answer const*> failed;
    bool more = false, elsewhere = false, foreign = false;
    for (std::string url : quotedStrings(urls)) {
        if (auto const hash = url.find('#'); hash != std::string::npos) {
            if (fragment != nullptr)
                *fragment = url.substr(hash + 1);
            url.resize(hash);
        }
        if (url.empty() && fragment == nullptr)
            continue;
        auto const [known, isNew] = _byUrl.try_emplace({&from, url});
        Answer& answer = known->second;
        if (isNew) {
            _budget.addUrl(where);
            answer = openOnce(url, from);
        }
        if (answer.file != nullptr)
            return answer.file;
        elsewhere = elsewhere || answer.elsewhere;
        foreign = foreign || !foreignFormat(url).empty();
        if (std::ranges::find(failed, &answer) != failed.end())
            continue;
        more = failed.size() == shown;
        if (!more)
            failed.push_back(&answer);
    }
    if (failed.empty()) {
        // An Inline may get one later.
        _diagnostics.report(fragment == nullptr ? Severity::hint : Severity::warning, _scene.place(where), kind,
                            std::string(fragment == nullptr ? "an Inline" : "an EXTERNPROTO") + " without a url");
        return nullptr;
    }
    std::string why = failed.size() > 1 ? "none of its urls can be read: " : "";
    for (Answer const* const answer : failed)
        why += (answer == failed.front() ? "" : "; ") + answer->why;
    // What other programs read may well be right.
    _diagnostics.report(elsewhere || foreign ? Severity::note : Severity::warning, _scene.place(where), kind,
                        why + (more ? "; and others" : ""));
    return nullptr;
}

std::string SceneFiles::picture(std::string_view urls, SceneFile const& from, std::size_t& room, std::string& why) const
{
    why.clear(); // the first reason is told
    auto const cannot = [&why](std::string const& reason) {
        if (why.empty())
            why = reason;
    };
    for (std::string const& url : quotedStrings(urls))
        try {
            if (url.starts_with("data:image/")) {
                if (url.size() <= room) {
                    room -= url.size();
                    return url;
                }
                cannot("a picture in its url is more than pictures may be in all");
                continue;
            }
            OpenedFile const opened = _local.open(url, from.folder);
            std::string const bytes = opened.descriptor.read(room + 1);
            std::string_view const kind = pictureKind(bytes);
            if (kind.empty()) {
                cannot(opened.name + " is no PNG, JPEG, GIF or WebP");
            } else if (bytes.size() > room) {
                cannot(opened.name + " is more than pictures may be in all");
            } else {
                room -= bytes.size();
                return "data:image/" + std::string(kind) + ";base64," + base64(bytes);
            }
        } catch (Failure const& failure) {
            cannot(failure.what());
        }
    return "";
}

SceneFiles::Answer SceneFiles::openOnce(std::string const& url, SceneFile& from)
{
    if (url.empty())
        return {&from};
    std::optional<OpenedFile> opened;
    try {
        opened = _local.open(url, from.folder);
    } catch (Elsewhere const& elsewhere) {
        return {nullptr, elsewhere.what(), true};
    } catch (Failure const& failure) {
        return {nullptr, failure.what()};
    }
    if (std::string_view const format = foreignFormat(url); !format.empty())
        return {nullptr, opened->name + " is " + std::string(format) + ", which is not read"};
    auto const [known, isNew] = _byIdentity.try_emplace(opened->identity);
    Answer& answer = known->second;
    if (isNew) {
        _budget.requireRoomForFile(opened->name);
        try {
            answer.file = &load(*opened);
        } catch (Failure const& failure) {
            answer.why = failure.what();
        }
    }
    return answer;
}

} // namespace Zelvan::play
