// KelDataSource, and the parts of KelDataSourcesUtilities that need no
// ODBC driver: splitting connection strings and the OE-mode flag.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

namespace {

std::wstring text(const KelString& s) {
    return s.getStringW();
}

}  // namespace

// ----- KelDataSource -------------------------------------------------------------

TEST(KelDataSource, DefaultConstructorLeavesAllFieldsEmpty) {
    const KelDataSource source;
    EXPECT_EQ(text(source.name), L"");
    EXPECT_EQ(text(source.platform), L"");
    EXPECT_EQ(text(source.connectionString), L"");
}

TEST(KelDataSource, ConstructorTakesNameThenConnectionStringThenPlatform) {
    const KelDataSource source(L"OrbisProfiles2015.1", L"DRIVER={x};DBQ=C:\\p.mdb", L"x64");
    EXPECT_EQ(text(source.name), L"OrbisProfiles2015.1");
    EXPECT_EQ(text(source.connectionString), L"DRIVER={x};DBQ=C:\\p.mdb");
    EXPECT_EQ(text(source.platform), L"x64");
}

TEST(KelDataSource, CopyConstructorCopiesAllThreeFields) {
    const KelDataSource source(L"Projects", L"DSN=projects", L"x86");
    const KelDataSource copy(source);
    EXPECT_EQ(text(copy.name), L"Projects");
    EXPECT_EQ(text(copy.connectionString), L"DSN=projects");
    EXPECT_EQ(text(copy.platform), L"x86");
}

TEST(KelDataSource, AssignmentCopiesAllThreeFields) {
    const KelDataSource source(L"Projects", L"DSN=projects", L"x86");
    KelDataSource target(L"Other", L"DSN=other", L"x64");
    target = source;
    EXPECT_EQ(text(target.name), L"Projects");
    EXPECT_EQ(text(target.connectionString), L"DSN=projects");
    EXPECT_EQ(text(target.platform), L"x86");
}

TEST(KelDataSource, EqualityIgnoresTheCaseOfNameAndPlatform) {
    const KelDataSource source(L"OrbisProfiles2015.1", L"", L"x64");
    EXPECT_TRUE(source == KelDataSource(L"orbisprofiles2015.1", L"", L"X64"));
    EXPECT_TRUE(KelDataSource(L"ORBISPROFILES2015.1", L"", L"x64") == source);
}

TEST(KelDataSource, EqualityIgnoresTheConnectionString) {
    const KelDataSource first(L"Projects", L"DRIVER={a};DBQ=C:\\a.mdb", L"x64");
    const KelDataSource second(L"Projects", L"DRIVER={b};DBQ=C:\\b.mdb", L"x64");
    EXPECT_TRUE(first == second);
}

TEST(KelDataSource, DifferentNameOrPlatformIsNotEqual) {
    const KelDataSource source(L"Projects", L"DSN=p", L"x64");
    EXPECT_FALSE(source == KelDataSource(L"Project", L"DSN=p", L"x64"));
    EXPECT_FALSE(source == KelDataSource(L"Projects", L"DSN=p", L"x86"));
    EXPECT_FALSE(source == KelDataSource(L"Projects", L"DSN=p", L""));
}

TEST(KelDataSource, EmptyEntriesAreEqual) {
    EXPECT_TRUE(KelDataSource() == KelDataSource(L"", L"DSN=x", L""));
}

// ----- splitting connection strings ----------------------------------------------

TEST(SplitConnectionString, SplitsAfterTheFileMarker) {
    KelString head;
    KelString file;
    EXPECT_EQ(
        KelDataSourcesUtilities::splitConnectionString(L"DRIVER={x};DBQ=C:\\a.mdb", head, file), 1);
    EXPECT_EQ(text(head), L"DRIVER={x};DBQ=");
    EXPECT_EQ(text(file), L"C:\\a.mdb");
}

TEST(SplitConnectionString, WithoutTheMarkerEmptiesBothParts) {
    KelString head(L"old head");
    KelString file(L"old file");
    EXPECT_EQ(
        KelDataSourcesUtilities::splitConnectionString(L"DRIVER={x};Database=C:\\a.db", head, file),
        0);
    EXPECT_EQ(text(head), L"");
    EXPECT_EQ(text(file), L"");
}

TEST(SplitConnectionString, MarkerIsCaseSensitive) {
    KelString head(L"old");
    KelString file(L"old");
    EXPECT_EQ(
        KelDataSourcesUtilities::splitConnectionString(L"DRIVER={x};dbq=C:\\a.mdb", head, file), 0);
    EXPECT_EQ(text(head), L"");
    EXPECT_EQ(text(file), L"");
}

TEST(SplitConnectionString, SplitsAtTheFirstMarker) {
    KelString head;
    KelString file;
    EXPECT_EQ(
        KelDataSourcesUtilities::splitConnectionString(L"DBQ=C:\\a.mdb;DBQ=C:\\b.mdb", head, file),
        1);
    EXPECT_EQ(text(head), L"DBQ=");
    EXPECT_EQ(text(file), L"C:\\a.mdb;DBQ=C:\\b.mdb");
}

TEST(SplitConnectionString, KeepsWhatFollowsTheFile) {
    KelString head;
    KelString file;
    EXPECT_EQ(KelDataSourcesUtilities::splitConnectionString(
                  L"DRIVER={x};UID=;PWD=;DBQ=C:\\a.mdb;ReadOnly=1", head, file),
              1);
    EXPECT_EQ(text(head), L"DRIVER={x};UID=;PWD=;DBQ=");
    EXPECT_EQ(text(file), L"C:\\a.mdb;ReadOnly=1");
}

TEST(SplitConnectionString, MarkerAtTheEndGivesAnEmptyFile) {
    KelString head;
    KelString file(L"old");
    EXPECT_EQ(KelDataSourcesUtilities::splitConnectionString(L"DRIVER={x};DBQ=", head, file), 1);
    EXPECT_EQ(text(head), L"DRIVER={x};DBQ=");
    EXPECT_EQ(text(file), L"");
}

TEST(SplitConnectionString, EmptyStringHasNoMarker) {
    KelString head(L"old");
    KelString file(L"old");
    EXPECT_EQ(KelDataSourcesUtilities::splitConnectionString(L"", head, file), 0);
    EXPECT_EQ(text(head), L"");
    EXPECT_EQ(text(file), L"");
}

// ----- OE mode -------------------------------------------------------------------

TEST(OEMode, IsOffAtStartAndFollowsTheSetter) {
    EXPECT_FALSE(KelDataSourcesUtilities::isOEMode());
    KelDataSourcesUtilities::setOEMode(true);
    EXPECT_TRUE(KelDataSourcesUtilities::isOEMode());
    KelDataSourcesUtilities::setOEMode(false);
    EXPECT_FALSE(KelDataSourcesUtilities::isOEMode());
}
