/// @file
/// The method's name out of the compilers' function texts.
#include "utilities/debuggingandexceptions/SourcePosition.h"

#include <gtest/gtest.h>

#include "support/Narrow.h"

namespace {

using vlm::test::Narrow;

struct Widget {
    template <class T>
    static std::string Lambda(T value) {
        return [&](int) { return Narrow(VLM_HERE.pszMethod) + (value ? "" : "?"); }(1);
    }
    std::string operator()(int) const { return Narrow(VLM_HERE.pszMethod); }
};

TEST(SourcePosition, NamesClassAndMethodFromTheTextsOfBothCompilers) {
    const struct {
        const char* pszFunction;
        const char* pszExpected;
    } aoRows[] = {
        {"void RegistryKey::GetValue(int) const", "RegistryKey::GetValue"},
        {"static bool vlm::host::Store::Open(const char16_t*, std::function<void(int)>)", "Store::Open"},
        {"int {anonymous}::Helper(int (*)(int))", "Helper"},
        {"int (anonymous namespace)::Helper(int (*)(int))", "Helper"},
        {"CXString::CXString(const CXString&)", "CXString::CXString"},
        {"virtual File::~File()", "File::~File"},
        {"bool X::operator()(int) const", "X::operator()"},
        {"bool X::operator<(int) const", "X::operator<"},
        {"X::operator const char16_t*() const", "X::operator const char16_t*"},
        {"void List<T, C>::reset() [with T = int; C = A::B]", "List<T, C>::reset"},
        {"void A::Do(int)::<lambda(int)>", "A::Do"},
        {"auto A::Do(int)::(anonymous class)::operator()(int) const", "A::Do"},
        {"int main()", "main"},
        {"", ""},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(vlm::detail::QualifiedName(rRow.pszFunction), rRow.pszExpected);
}

TEST(SourcePosition, NamesTheMethodAroundALambdaAndTheFileWithBackslashes) {
    EXPECT_EQ(Widget::Lambda(5).substr(0, 14), "Widget::Lambda");
    EXPECT_EQ(Widget()(1), "Widget::operator()");
    const vlm::SourcePosition& rHere = VLM_HERE;
    EXPECT_EQ(rHere.dwLine, static_cast<DWORD>(__LINE__ - 1));
    const std::string file = Narrow(rHere.pszFile);
    EXPECT_EQ(file.substr(file.find("tests")), "tests\\failure\\SourcePositionTest.cpp");
}

}  // namespace
