#pragma once

#include "player/reading/ClassicScanner.h"

namespace Zelvan::play {

/// The statements of ClassicVRML that are no nodes and hold none: each becomes one element.
class ClassicStatements {
public:
    ClassicStatements(ClassicScanner& scanner, ElementTree& tree) : _scanner(scanner), _tree(tree) {}

    /// A ROUTE, IMPORT or EXPORT whose first word, at `offset`, has been passed; false when `word` is none of them.
    bool read(std::string_view word, std::size_t offset);
    /// COMPONENT, META or UNIT; false when `word`, which is next, is none of them. `open` opens their head.
    bool readHead(std::string_view word, bool open);

private:
    void readRoute();
    /// Two names in one word, or with white space at the separator: the second stands behind the last separator.
    void readPair(char separator, std::string_view first, std::string_view second, char const* what);

    ClassicScanner& _scanner;
    ElementTree& _tree;
};

} // namespace Zelvan::play
