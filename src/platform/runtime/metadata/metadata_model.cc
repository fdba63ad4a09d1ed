#include "platform/runtime/metadata/metadata_model.h"

namespace Quon::MetadataModel {

std::vector<FieldInfo> Describe(const std::vector<Definition::Field>& fields) {
    std::vector<FieldInfo> described;
    described.reserve(fields.size());
    for (const Definition::Field& field : fields) {
        described.push_back(
            {field.name, Definition::ToText(field.type), field.type.optional, field.documentation});
    }
    return described;
}

OperationInfo Describe(const Definition::Operation& operation) {
    return {operation.name, operation.documentation, Describe(operation.parameters),
            Definition::ToText(operation.result), operation.errors};
}

}  // namespace Quon::MetadataModel
