// The stack walker's shared pieces: demangled names, symbol type texts,
// record fields and symbol search paths.

#include <gtest/gtest.h>

#include <string>

#include "diagnostics/stack_walk.h"

namespace {

using kel::detail::demangleSymbol;

struct Names {
    bool ok;
    std::string nameOnly;
    std::string full;
};

Names demangled(const char* symbol) {
    Names names{false, "untouched", "untouched"};
    names.ok = demangleSymbol(symbol, names.nameOnly, names.full);
    return names;
}

TEST(StackWalkNames, AFunction) {
    const Names names = demangled("_Z3foov");
    EXPECT_TRUE(names.ok);
    EXPECT_EQ(names.full, "foo()");
    EXPECT_EQ(names.nameOnly, "foo");
}

TEST(StackWalkNames, AConstMemberFunction) {
    const Names names = demangled("_ZNK4Beam6lengthEv");
    EXPECT_EQ(names.full, "Beam::length() const");
    EXPECT_EQ(names.nameOnly, "Beam::length");
}

TEST(StackWalkNames, ATemplateFunctionLosesItsReturnType) {
    const Names names = demangled("_Z3maxIiET_S0_S0_");
    EXPECT_EQ(names.full, "int max<int>(int, int)");
    EXPECT_EQ(names.nameOnly, "max<int>");
}

TEST(StackWalkNames, Operators) {
    EXPECT_EQ(demangled("_ZlsRSoRK4Beam").nameOnly, "operator<<");
    EXPECT_EQ(demangled("_Znwm").nameOnly, "operator new");
    EXPECT_EQ(demangled("_ZN1AclEv").nameOnly, "A::operator()");
    EXPECT_EQ(demangled("_ZN1AcviEv").nameOnly, "A::operator int");
    EXPECT_EQ(demangled("_ZNKSt8functionIFvvEEclEv").nameOnly,
              "std::function<void ()>::operator()");
}

TEST(StackWalkNames, AnonymousNamespacesAndLambdas) {
    EXPECT_EQ(demangled("_ZN12_GLOBAL__N_13fooEv").nameOnly, "(anonymous namespace)::foo");
    const Names lambda = demangled("_ZZ4mainENKUliE_clEi");
    EXPECT_EQ(lambda.full, "main::{lambda(int)#1}::operator()(int) const");
    EXPECT_EQ(lambda.nameOnly, "main::{lambda(int)#1}::operator()");
}

TEST(StackWalkNames, APartialCopyIsNamedAfterItsFunction) {
    const Names names = demangled("_Z3foov.cold");
    EXPECT_EQ(names.full, "foo() [clone .cold]");
    EXPECT_EQ(names.nameOnly, "foo");
}

TEST(StackWalkNames, DataSymbolsKeepTheirWholeName) {
    const Names names = demangled("_ZTV4Beam");
    EXPECT_EQ(names.full, "vtable for Beam");
    EXPECT_EQ(names.nameOnly, "vtable for Beam");
}

TEST(StackWalkNames, NamesThatAreNotMangledAreLeftAlone) {
    for (const char* symbol : {"main", "qsort_r", "_Zoops", "", "?length@Beam@@QEAAHH@Z"}) {
        const Names names = demangled(symbol);
        EXPECT_FALSE(names.ok) << symbol;
        EXPECT_EQ(names.full, "untouched");
        EXPECT_EQ(names.nameOnly, "untouched");
    }
    std::string a = "x";
    std::string b = "y";
    EXPECT_FALSE(demangleSymbol(nullptr, a, b));
}

TEST(StackWalkSymbolTypes, Texts) {
    const char* expected[] = {"-nosymbols-", "COFF", "CV",  "PDB",    "-exported-",
                              "-deferred-",  "SYM",  "DIA", "Virtual"};
    for (unsigned long type = 0; type < 9; ++type)
        EXPECT_STREQ(kel::detail::symbolTypeText(type), expected[type]);
    EXPECT_STREQ(kel::detail::symbolTypeText(9), "");
    EXPECT_STREQ(kel::detail::symbolTypeText(0xFFFFFFFFul), "");
}

TEST(StackWalkFields, TextIsCutToFit) {
    KelStackWalker::CallstackEntry entry;
    kel::detail::copyField(entry.name, std::string(2000, 'n').c_str());
    EXPECT_EQ(std::string(entry.name), std::string(1023, 'n'));
    kel::detail::copyField(entry.name, "short");
    EXPECT_STREQ(entry.name, "short");
    kel::detail::copyField(entry.name, nullptr);
    EXPECT_STREQ(entry.name, "");
}

TEST(StackWalkSearchPath, Directories) {
    using kel::detail::splitSearchPath;
    EXPECT_EQ(splitSearchPath("C:\\;"), std::vector<std::string>{"C:\\"});
    EXPECT_EQ(splitSearchPath("/a;;/b/c;"), (std::vector<std::string>{"/a", "/b/c"}));
    EXPECT_TRUE(splitSearchPath("").empty());
    EXPECT_TRUE(splitSearchPath(";;").empty());
}

}  // namespace
