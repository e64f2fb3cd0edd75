#include "coreNodePool/TransCoderProc.h"

#include "coreNodePool/TransCoder.h"

namespace Zelvan {

TransCoderProc::TransCoderProc(NodeType& type, Node& node) : SceneBaseNodeProc(type, node) {}

TransCoderProc::TransCoderProc(TransCoderProc& other) : SceneBaseNodeProc(other) {}

TransCoderProc::~TransCoderProc() = default;

void TransCoderProc::fieldChanged(TransCoder&, Field&, TimeStamp const&, Field*) {}

} // namespace Zelvan
