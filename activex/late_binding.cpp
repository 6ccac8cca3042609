#include "activex/late_binding.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <vector>

#include "activex/automation_value.h"
#include "activex/com_error.h"
#include "activex/type_library.h"
#include "platform/windows/bstr.h"

namespace plexum::activex {
namespace {

constexpr VARTYPE kByRefVariant = VT_BYREF | VT_VARIANT;

// The variable that an argument stands for: script hosts pass variants by reference.
VARIANT& variable_of(VARIANT& argument) {
  VARIANT* variable = &argument;
  // One level is what hosts pass; the bound keeps a variant that refers to itself from hanging.
  for (int level = 0; level < 4 && variable->vt == kByRefVariant; ++level) {
    variable = variable->pvarVal;
  }
  return *variable;
}

bool is_omitted(const VARIANT& argument) {
  return argument.vt == VT_ERROR && argument.scode == DISP_E_PARAMNOTFOUND;
}

// Puts a text into a variable of a fixed type. A text that the type can't hold leaves it as it is:
// the member has done its work, and failing now would say otherwise.
void assign_typed(VARIANT& reference, BSTR text) {
  const auto type = static_cast<VARTYPE>(reference.vt & ~VT_BYREF);
  VARIANT source;
  VariantInit(&source);
  source.vt = VT_BSTR;
  source.bstrVal = text;
  OwnedVariant converted;
  if (FAILED(VariantChangeTypeEx(&converted.get(), &source, LOCALE_USER_DEFAULT, 0, type))) return;
  switch (type) {
    case VT_I1:
    case VT_UI1:
      *reference.pbVal = converted.get().bVal;
      break;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      *reference.piVal = converted.get().iVal;
      break;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
      *reference.plVal = converted.get().lVal;
      break;
    case VT_I8:
    case VT_UI8:
      *reference.pllVal = converted.get().llVal;
      break;
    case VT_R4:
      *reference.pfltVal = converted.get().fltVal;
      break;
    case VT_R8:
    case VT_DATE:
      *reference.pdblVal = converted.get().dblVal;
      break;
    case VT_CY:
      *reference.pcyVal = converted.get().cyVal;
      break;
    default:
      break;
  }
}

// Puts a text into the variable that an argument refers to. Objects and arrays stay what they are.
void assign(VARIANT& argument, BSTR text) {
  if ((argument.vt & VT_BYREF) == 0) return;
  if (argument.vt != kByRefVariant) return assign_typed(argument, text);
  VARIANT& variable = variable_of(argument);
  if (variable.vt & VT_BYREF) return assign_typed(variable, text);
  if (variable.vt == VT_DISPATCH || variable.vt == VT_UNKNOWN || (variable.vt & VT_ARRAY)) return;
  const BSTR copy = windows::new_bstr(windows::view_of(text));
  VariantClear(&variable);
  variable.vt = VT_BSTR;
  variable.bstrVal = copy;
}

// One argument in the exact type of its parameter.
class Argument {
 public:
  Argument(VARIANT& caller, VARTYPE parameter) : caller_(caller) {
    if (is_omitted(caller)) throw ComError(DISP_E_PARAMNOTOPTIONAL);
    VARIANT& variable = variable_of(caller);
    if (parameter == kByRefVariant) {
      check(VariantCopyInd(&value_.get(), &variable));
      passed_.vt = kByRefVariant;
      passed_.pvarVal = &value_.get();
    } else if (parameter == (VT_BYREF | VT_BSTR)) {
      coerce(variable, VT_BSTR);
      original_ = windows::view_of(value_.get().bstrVal);
      passed_.vt = VT_BYREF | VT_BSTR;
      passed_.pbstrVal = &value_.get().bstrVal;
    } else {
      coerce(variable, parameter);
      passed_ = value_.get();
    }
  }
  Argument(const Argument&) = delete;
  Argument& operator=(const Argument&) = delete;

  // To be given to the member; it belongs to this object.
  [[nodiscard]] const VARIANT& passed() const noexcept { return passed_; }

  void write_back() {
    if (passed_.vt != (VT_BYREF | VT_BSTR)) return;
    BSTR text = value_.get().bstrVal;
    if (windows::view_of(text) == original_) return;
    if (caller_.vt == (VT_BYREF | VT_BSTR)) {
      SysFreeString(*caller_.pbstrVal);
      *caller_.pbstrVal = value_.release().bstrVal;
    } else {
      assign(caller_, text);
    }
  }

 private:
  // By the user's locale, as the host's own conversions; an object gives its default value.
  void coerce(VARIANT& variable, VARTYPE type) {
    check(VariantChangeTypeEx(&value_.get(), &variable, LOCALE_USER_DEFAULT, 0, type));
  }

  VARIANT& caller_;
  OwnedVariant value_;
  VARIANT passed_{};
  std::wstring original_;
};

// Where the arguments for the parameters 0, 1... stand in rgvarg, which counts from the end; named
// ones come first and say which parameter they are for.
std::vector<UINT> positions(const DISPPARAMS& parameters, std::size_t count) {
  const UINT given = parameters.cArgs;
  const UINT named = parameters.cNamedArgs;
  if (given != count || named > given) throw ComError(DISP_E_BADPARAMCOUNT);
  constexpr UINT kMissing = ~0U;
  std::vector<UINT> result(count, kMissing);
  for (UINT i = 0; i < given - named; ++i) result[i] = given - 1 - i;
  for (UINT i = 0; i < named; ++i) {
    DISPID parameter = parameters.rgdispidNamedArgs[i];
    if (parameter == DISPID_PROPERTYPUT) parameter = static_cast<DISPID>(count) - 1;
    if (parameter < 0 || parameter >= static_cast<DISPID>(count) ||
        result[static_cast<std::size_t>(parameter)] != kMissing) {
      throw ComError(DISP_E_PARAMNOTFOUND);
    }
    result[static_cast<std::size_t>(parameter)] = i;
  }
  return result;
}

// Which kind of member a call means; a host may ask for method or property in one call, and for a
// put in two ways at once.
WORD flags_of(WORD flags) {
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) return DISPATCH_PROPERTYPUT;
  return flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET);
}

}  // namespace

HRESULT invoke_late_bound(ITypeInfo& type, _PlexumLink* instance, const LateBoundCall& call) {
  const MemberSignature* member = find_member(call.member, flags_of(call.flags));
  if (member == nullptr) return DISP_E_MEMBERNOTFOUND;

  const std::vector<UINT> order = positions(call.parameters, member->parameters.size());
  std::deque<Argument> arguments;
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (call.argument != nullptr) *call.argument = order[i];
    arguments.emplace_back(call.parameters.rgvarg[order[i]], member->parameters[i]);
  }

  std::vector<VARIANT> passed;
  std::for_each(arguments.rbegin(), arguments.rend(),
                [&passed](const Argument& argument) { passed.push_back(argument.passed()); });
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{passed.data(), nullptr, static_cast<UINT>(passed.size()), 0};
  if (member->kind == INVOKE_PROPERTYPUT) {
    parameters.rgdispidNamedArgs = &put;
    parameters.cNamedArgs = 1;
  }
  const HRESULT result = type.Invoke(instance, call.member, static_cast<WORD>(member->kind),
                                     &parameters, call.result, call.exception, call.argument);
  for (Argument& argument : arguments) argument.write_back();
  return result;
}

}  // namespace plexum::activex
