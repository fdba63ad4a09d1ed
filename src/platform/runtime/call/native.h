// From C++ types to the values of the API and back, driven by one definition a type
// (native_traits.h shows one). The same definitions give the parameter checks, the serialization,
// the metadata and the introspection, so that a new field is one new row. This header is the door
// to all of it:
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
