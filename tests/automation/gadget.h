// Gadget: an automation object as a host application writes one. IDispatch is forwarded
// to a CTypeInfoHolder over the test type library; Parts is a collection whose _NewEnum
// hands out a CVariantEnum. For the script client tests.
#pragma once

#include "test_typelibs.h"

#include "OvxComponent/automation/type_info_holder.h"
#include "OvxComponent/comsupport/scoped_variant.h"

#include <string>
#include <vector>

namespace OvxTest {

// A part of a gadget: another gadget or a plain value.
using GadgetPart = OvxComponent::CComPtr<IDispatch>;

// loader: the host module's loader of the test type library, which outlives the gadgets.
OvxComponent::CComPtr<IGadget> MakeGadget(OvxComponent::ITypeLibLoader* loader, std::wstring title,
                                          std::vector<GadgetPart> parts = {}, std::vector<std::wstring> labels = {});

// The title a gadget holds, as C++ sees it.
std::wstring GadgetTitle(IGadget* gadget);

}  // namespace OvxTest
