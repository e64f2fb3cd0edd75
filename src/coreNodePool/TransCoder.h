#pragma once

#include "base/Fields.h"
#include "base/Node.h"
#include "coreNodePool/Export.h"

namespace Zelvan {

/// Base of nodes that turn input events into output events. While `enabled` is false they send nothing.
class ZELVAN_CORE_API TransCoder : public Node {
public:
    enum FieldIndex : unsigned { metadataIndex, enabledIndex, descriptionIndex };
    static NodePartDesc _desc[3];
    static NodeType _type;
    static bool isType(Node* node);

    TransCoder(NodeType& type, NodeNameSpace& nameSpace, char const* name);
    ~TransCoder() override;

    bool enabled() const { return _enabled._value; }

    SFString _metadata{*this};
    SFBool _enabled{*this};
    SFString _description{*this};
};

} // namespace Zelvan
