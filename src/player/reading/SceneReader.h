#pragma once

#include "player/reading/ReadLimits.h"
#include "player/scene/Scene.h"

#include <map>
#include <memory>
#include <string>

namespace Zelvan::play {

class Staging;
/// Bytes of files, by the names that a scene has for them.
using EditedTexts = std::map<std::string, std::string>;

// Kinds of the messages that reading a scene may give; `check` uses them as codes.
namespace kinds {
inline constexpr char const* badXml = "bad-xml";
inline constexpr char const* notUtf8 = "not-utf8";
inline constexpr char const* looseSyntax = "loose-syntax";
inline constexpr char const* unknownNode = "unknown-node";
inline constexpr char const* badValue = "bad-value";
inline constexpr char const* unknownAttribute = "unknown-attribute";
inline constexpr char const* noEffect = "no-effect";
inline constexpr char const* badRoute = "bad-route";
inline constexpr char const* duplicateDef = "duplicate-def";
inline constexpr char const* unknownUse = "unknown-use";
inline constexpr char const* badProto = "bad-proto";
inline constexpr char const* badInline = "bad-inline";
} // namespace kinds

/// Reads a scene from X3D XML, ClassicVRML or VRML97: nodes by type name, fields from attributes, ROUTEs, USE, PROTO
/// instances expanded, Inline and EXTERNPROTO from local files in the scene's folder; "-" is standard input. What is
/// wrong goes to `diagnostics`, and reading goes on where it can. Throws Failure where it cannot: an unreadable file,
/// text that does not parse, a limit.
/// With `staging`, the scene is kept there as it is drawn; `edited` has what to read instead of files that it names.
std::unique_ptr<Scene> readScene(std::string const& file, ReadLimits const& limits, Diagnostics& diagnostics,
                                 Staging* staging = nullptr, EditedTexts const* edited = nullptr);

} // namespace Zelvan::play
