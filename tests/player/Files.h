#pragma once

#include "player/playing/PoolLoader.h"
#include "player/reading/SceneReader.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Zelvan::play::test {

inline std::string textOf(std::filesystem::path const& file)
{
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

/// A folder of its own for a test's files; gone with the object.
class Folder {
public:
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zelvan-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        _path = name;
    }
    ~Folder() { std::filesystem::remove_all(_path); }

    std::string path(std::string const& name) const { return (_path / name).string(); }
    /// Writes a file and returns its path.
    std::string add(std::string const& name, std::string const& text) const
    {
        std::filesystem::create_directories((_path / name).parent_path());
        std::ofstream(_path / name, std::ios::binary) << text;
        return path(name);
    }
    std::string read(std::string const& name) const { return textOf(_path / name); }

private:
    std::filesystem::path _path;
};

inline std::string times(std::size_t n, std::string const& text)
{
    std::string all;
    for (std::size_t i = 0; i < n; ++i)
        all += text;
    return all;
}

inline std::string x3d(std::string const& scene)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<X3D><Scene>\n" + scene + "\n</Scene></X3D>\n";
}

/// A scene read from a text, with what reading it reported (paths and codes left out).
struct ReadScene {
    explicit ReadScene(std::string const& body, ReadLimits const& limits = {}) : ReadScene(x3d(body), limits, "scene.x3d") {}
    /// The same of a whole file.
    ReadScene(std::string const& text, ReadLimits const& limits, char const* name)
        : file(folder.add(name, text)), scene((loadPool(""), readScene(file, limits, diagnostics)))
    {
        diagnostics.finish();
    }
    std::string messages() const
    {
        std::string text = out.str();
        std::string const prefix = folder.path("");
        for (auto at = text.find(prefix); at != std::string::npos; at = text.find(prefix))
            text.erase(at, prefix.size());
        for (auto end = text.find("]\n"); end != std::string::npos; end = text.find("]\n")) { // the code
            auto const begin = text.rfind(" [", end);
            text.erase(begin, end + 1 - begin);
        }
        return text;
    }
    SceneNode& node(std::string const& name)
    {
        SceneNode* const found = scene->find(name);
        if (found == nullptr)
            throw std::runtime_error("no node " + name);
        return *found;
    }
    std::string value(std::string const& name, char const* field) { return fieldOf(node(name), field)->getValueAsStr(); }
    /// "A.value_changed>B.set_fraction ..." of the routes that events pass.
    std::string routes() const
    {
        std::string text;
        for (SceneRoute const& route : scene->routes)
            if (route.route != nullptr)
                text += route.from->name + '.' + route.route->from().findName() + '>' + route.to->name + '.'
                    + route.route->to().findName() + ' ';
        return text;
    }

    Folder folder;
    std::string file;
    std::ostringstream out;
    Diagnostics diagnostics{out};
    std::unique_ptr<Scene> scene;
};

} // namespace Zelvan::play::test
