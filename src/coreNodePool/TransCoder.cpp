#include "coreNodePool/TransCoder.h"

namespace Zelvan {

NodePartDesc TransCoder::_desc[3] = {
    {metadataIndex, 1ul << metadataIndex, inputOutput, SFStringType, 1, "metadata", nullptr, nullptr, nullptr,
     "Information about the node that is kept but not used.", 0},
    {enabledIndex, 1ul << enabledIndex, inputOutput, SFBoolType, 1, "enabled", nullptr, "TRUE", nullptr,
     "Whether the node reacts to events.", 0},
    {descriptionIndex, 1ul << descriptionIndex, inputOutput, SFStringType, 1, "description", nullptr, nullptr, nullptr,
     "A note for people.", 0},
};

NodeType TransCoder::_type(theSceneNodeTypeFactory(), "TransCoder", "CoreNodePool", nullptr, nullptr, nullptr, "Core", nullptr,
                           "stable", "Abstract base type for nodes that turn input events into output events", "Zelvan", false,
                           false, &TransCoder::isType, nullptr, nullptr, _desc, 3);

bool TransCoder::isType(Node* node)
{
    return dynamic_cast<TransCoder*>(node) != nullptr;
}

TransCoder::TransCoder(NodeType& type, NodeNameSpace& nameSpace, char const* name) : Node(type, nameSpace, name)
{
    // Enabled from the start, whether or not the host applies default texts.
    _enabled._value = true;
    regField(_metadata, _type, metadataIndex, true);
    regField(_enabled, _type, enabledIndex, true);
    regField(_description, _type, descriptionIndex, true);
}

TransCoder::~TransCoder()
{
    unregField(metadataIndex);
    unregField(enabledIndex);
    unregField(descriptionIndex);
}

} // namespace Zelvan
