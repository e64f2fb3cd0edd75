#pragma once

#include "base/NodeProc.h"
#include "coreNodePool/Export.h"

namespace Zelvan {

class TransCoder;
/// Base of the processors of all types that make values of values.
class ZELVAN_CORE_API TransCoderProc : public SceneBaseNodeProc {
public:
    TransCoderProc(NodeType& type, Node& node);
    TransCoderProc(TransCoderProc& other);
    ~TransCoderProc() override;

    /// The end of every processor's chain: takes the fields nobody else handles, and does nothing with them.
    void fieldChanged(TransCoder& node, Field& field, TimeStamp const& timeStamp, Field* from);
};

} // namespace Zelvan
