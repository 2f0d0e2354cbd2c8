// Times the name lookup that script clients make before nearly every call: a single-name
// GetIDsOfNames through CTypeInfoHolder (the name cache) against ITypeInfo::GetIDsOfNames
// on the same type info, over an interface of 200 members with mixed-case names, asked in
// other spellings than declared. Google Benchmark is not available for Windows here, so
// the program times itself: each side runs in alternating repetitions in one process,
// and the medians are printed with their ratio.
//
// Exit status: 0 when both sides agree on every DISPID, 1 otherwise, 2 when the type
// library cannot be loaded.
#include "OvxComponent/automation/type_info_holder.h"
#include "OvxComponent/automation/type_lib_cache_base.h"
#include "OvxComponent/comsupport/com_ptr.h"
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <initguid.h>  // defines the GUIDs of the generated header

#include "wide_library.h"  // generated

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cwctype>
#include <string>
#include <vector>

namespace {

using namespace OvxComponent;
using Clock = std::chrono::steady_clock;

constexpr int kRepetitions = 7;
constexpr int kRounds = 200;  // over all names, per repetition

// The type library embedded in this program.
class ProgramTypeLib : public CTypeLibCacheBase {
public:
    HINSTANCE GetResourceInstance(unsigned int&) const override { return GetModuleHandleW(nullptr); }
};

// Every member name of the interface once (not those of IDispatch, which are restricted),
// respelled: alternately all lower and all upper case, so that no lookup matches the
// declared spelling.
std::vector<std::wstring> CallerSpellings(ITypeInfo* info) {
    std::vector<std::wstring> names;
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetTypeAttr(&attr))) return names;
    std::vector<MEMBERID> seen;
    for (UINT i = 0; i < attr->cFuncs; ++i) {
        FUNCDESC* desc = nullptr;
        if (FAILED(info->GetFuncDesc(i, &desc))) continue;
        const MEMBERID id = desc->memid;
        const bool restricted = desc->wFuncFlags & FUNCFLAG_FRESTRICTED;
        info->ReleaseFuncDesc(desc);
        ScopedBstr name;
        if (restricted || std::find(seen.begin(), seen.end(), id) != seen.end() ||
            FAILED(info->GetDocumentation(id, name.put(), nullptr, nullptr, nullptr)))
            continue;
        seen.push_back(id);
        std::wstring spelled(name.View());
        const bool upper = names.size() % 2;
        for (wchar_t& c : spelled) c = static_cast<wchar_t>(upper ? std::towupper(c) : std::towlower(c));
        names.push_back(spelled);
    }
    info->ReleaseTypeAttr(attr);
    return names;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Nanoseconds per lookup of one repetition; lookup(name, &id) is one call.
template <class Lookup>
double TimeLookups(std::vector<std::wstring>& names, DISPID& checksum, Lookup lookup) {
    const auto start = Clock::now();
    for (int round = 0; round < kRounds; ++round) {
        for (std::wstring& name : names) {
            DISPID id = DISPID_UNKNOWN;
            lookup(name.data(), &id);
            checksum += id;
        }
    }
    const std::chrono::duration<double, std::nano> elapsed = Clock::now() - start;
    return elapsed.count() / (static_cast<double>(kRounds) * static_cast<double>(names.size()));
}

}  // namespace

int main() {
    ProgramTypeLib typeLib;
    CTypeInfoHolder holder(&typeLib, IID_IWide);
    CComPtr<ITypeInfo> typeInfo;
    if (FAILED(holder.GetTypeInfo(0, typeInfo.put()))) {
        std::fprintf(stderr, "cannot load the type library of IWide\n");
        return 2;
    }
    std::vector<std::wstring> names = CallerSpellings(typeInfo.get());

    // Both sides must give the same answer for every name (this also builds the cache).
    int mismatches = 0;
    for (std::wstring& name : names) {
        wchar_t* pointer = name.data();
        DISPID cached = DISPID_UNKNOWN, direct = DISPID_UNKNOWN;
        const HRESULT cachedResult = holder.GetIDsOfNames(&pointer, 1, 0, &cached);
        const HRESULT directResult = typeInfo->GetIDsOfNames(&pointer, 1, &direct);
        if (cachedResult != S_OK || directResult != S_OK || cached != direct) {
            std::fprintf(stderr, "%ls: cache %ld (0x%08lx), type info %ld (0x%08lx)\n", name.c_str(), cached,
                         static_cast<unsigned long>(cachedResult), direct, static_cast<unsigned long>(directResult));
            ++mismatches;
        }
    }

    std::vector<double> cachedTimes, directTimes;
    DISPID cachedSum = 0, directSum = 0;
    for (int repetition = 0; repetition < kRepetitions; ++repetition) {
        cachedTimes.push_back(TimeLookups(names, cachedSum, [&](wchar_t* name, DISPID* id) {
            holder.GetIDsOfNames(&name, 1, 0, id);
        }));
        directTimes.push_back(TimeLookups(names, directSum, [&](wchar_t* name, DISPID* id) {
            typeInfo->GetIDsOfNames(&name, 1, id);
        }));
    }
    if (cachedSum != directSum) ++mismatches;

    const double cached = Median(cachedTimes), direct = Median(directTimes);
    std::printf("single-name GetIDsOfNames, %zu names of IWide, %d x %d lookups per side\n", names.size(),
                kRepetitions, kRounds * static_cast<int>(names.size()));
    std::printf("  CTypeInfoHolder (name cache)   %8.1f ns/lookup (median)\n", cached);
    std::printf("  ITypeInfo::GetIDsOfNames       %8.1f ns/lookup (median)\n", direct);
    std::printf("  ratio                          %8.1fx\n", direct / cached);
    return mismatches == 0 ? 0 : 1;
}
