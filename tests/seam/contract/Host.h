#pragma once

#include <string>

namespace Zelvan {

class Node;
class NodeNameSpace;

/// What drives a node, for one framework or another: fields by index, values as their words.
class Host {
public:
    explicit Host(bool binarySearch);
    ~Host();
    /// A live node with its processor in place of the last one.
    void create(char const* typeName);
    /// Stores the words (or the text) in the field and hands the change to the node.
    void change(unsigned index, std::string const& bin, double time);
    /// Receives what the node sends.
    static void sent(char const* field, double time, std::string const& bin);

private:
    NodeNameSpace* _nameSpace;
    Node* _node = nullptr;
};

} // namespace Zelvan
