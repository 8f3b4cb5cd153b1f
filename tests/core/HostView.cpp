// A separate source file: a compiler that sees both classes at once knows that one is not the other.

#include "tests/core/HostView.h"

#include <cstdint>

// The operations in the order that hosts expect, declared independently.
class AsTheHostSeesIt {
 public:
  virtual ~AsTheHostSeesIt() = default;
  virtual std::uint64_t operation1() = 0;
  virtual std::uint64_t operation2() = 0;
  virtual std::int32_t operation3(const wchar_t* text, std::wstring& reply) = 0;
  virtual std::int32_t operation4() = 0;
  virtual std::int32_t operation5() = 0;
  virtual std::int32_t operation6() = 0;
  virtual std::int32_t operation7() = 0;
  virtual void operation8() = 0;
  virtual std::int32_t operation9() = 0;
  virtual std::int32_t operation10() = 0;
  virtual std::int32_t operation11() = 0;
  virtual std::int32_t operation12() = 0;
  virtual bool operation13(const wchar_t* fileName) = 0;
  virtual std::int32_t operation14(std::wstring message) = 0;
  virtual void operation15(std::wstring oldFile, std::wstring newFile) = 0;
};

// The object is intentionally of another class.
__attribute__((no_sanitize("undefined"))) std::vector<std::string> callInOrder(void* address,
                                                                               const std::string& called)
{
  auto* const object = static_cast<AsTheHostSeesIt*>(address);
  std::vector<std::string> calls;
  std::wstring reply;
  const auto note = [&](auto...) { calls.push_back(called); };
  note(object->operation1());
  note(object->operation2());
  note(object->operation3(L"", reply));
  note(object->operation4());
  note(object->operation5());
  note(object->operation6());
  note(object->operation7());
  object->operation8();
  note();
  note(object->operation9());
  note(object->operation10());
  note(object->operation11());
  note(object->operation12());
  note(object->operation13(L""));
  note(object->operation14(L""));
  object->operation15(L"", L"");
  note();
  delete object;
  note();
  return calls;
}
