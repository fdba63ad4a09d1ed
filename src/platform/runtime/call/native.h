// Converts C++ types to values of the API and back, by one definition for each type
// (native_traits.h has an example). The same definitions drive the parameter checks, the
// serialization, the metadata and the introspection, so a new field takes one new row. This header
// includes:
//
//   native_traits.h      StructureOf, EnumerationOf, Field
//   native_definition.h  TypeOf, DescribeFields, DescribeStructure, DescribeEnumeration
//   native_to_data.h     ToData
//   native_from_data.h   FromData
//   native_operation.h   BindOperation, ToNativeResult
#pragma once

#include "platform/runtime/call/native_operation.h"
#include "platform/runtime/definition/native_definition.h"
#include "platform/runtime/definition/native_from_data.h"
#include "platform/runtime/definition/native_to_data.h"
#include "platform/runtime/definition/native_traits.h"
