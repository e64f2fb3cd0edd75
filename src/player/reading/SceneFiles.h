#pragma once

#include "player/reading/Budget.h"
#include "player/reading/ElementTree.h"
#include "player/reading/LocalFiles.h"
#include "player/reading/SceneReader.h"
#include "player/reading/SourceFile.h"
#include "player/reading/Units.h"

#include <map>
#include <memory>
#include <vector>

namespace Zelvan::play {

struct Scope;

/// The strings of an MFString: "a" "b", or one without quotes.
std::vector<std::string> quotedStrings(std::string_view text);

/// A file of the scene: its text and the tree of it.
struct SceneFile {
    SceneFile(OpenedFile const& opened, ReadLimits const& limits, std::string const* bytes);

    /// Whether the value is strings in double quotes, also where a field holds but one.
    bool quotes(Attribute const& value) const
    {
        return source.syntax() == SourceFile::Syntax::classic && value.value().starts_with('"');
    }

    SourceFile source;
    ElementTree tree;
    std::string name;             ///< as messages have it
    std::filesystem::path folder; ///< that its urls begin in
    std::uint32_t number = 0;     ///< in the scene
    Units units;
    bool wasRead = false;      ///< as a part of the scene
    Scope* declared = nullptr; ///< its PROTOs, for those who know the file as an EXTERNPROTO
    Element const* firstProto = nullptr;
};

/// The files that a scene is made of: each is opened and parsed once, whatever names and how many references lead to it.
class SceneFiles {
public:
    /// `edited` may be null.
    SceneFiles(Scene& scene, Budget& budget, Diagnostics& diagnostics, EditedTexts const* edited)
        : _scene(scene), _budget(budget), _diagnostics(diagnostics), _edited(edited)
    {}

    /// The file that the command line names. Throws Failure.
    SceneFile& openScene(std::string const& path);
    /// The first of the urls that can be read; null, with a message at `where`, when there is none. `fragment` becomes
    /// what follows the last "#" that was seen, and an empty url is then the file itself.
    SceneFile* find(std::string_view urls, SceneFile& from, Location where, char const* kind, std::string* fragment);

    /// The first of the urls that is a picture in the scene's folder, as a data: URL; else "", and why. What its file
    /// takes goes from `room`.
    std::string picture(std::string_view urls, SceneFile const& from, std::size_t& room, std::string& why) const;

    /// Hands the texts over to the scene. The files' trees are of no use any more.
    void giveTexts();

private:
    /// A file, or why there is none.
    struct Answer {
        SceneFile* file = nullptr;
        std::string why{};
        bool elsewhere = false; ///< it may well be there
    };
    SceneFile& load(OpenedFile const& opened);
    [[noreturn]] void refuse(SceneFile const& file, SyntaxError const& error) const;
    Answer openOnce(std::string const& url, SceneFile& from);

    Scene& _scene;
    Budget& _budget;
    Diagnostics& _diagnostics;
    EditedTexts const* _edited;
    LocalFiles _local;
    std::vector<std::unique_ptr<SceneFile>> _files;
    std::map<FileIdentity, Answer> _byIdentity;
    // Asking the file system takes long; a scene names few files, but may name them often.
    std::map<std::pair<SceneFile const*, std::string>, Answer> _byUrl;
};

} // namespace Zelvan::play
