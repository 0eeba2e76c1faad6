// One named data source.

#include <kel/KelDataSource.h>

KelDataSource::KelDataSource() = default;

KelDataSource::KelDataSource(const KelDataSource& other) = default;

KelDataSource::KelDataSource(KelString name_, KelString connectionString_, KelString platform_)
    : name(name_), platform(platform_), connectionString(connectionString_) {}

KelDataSource::~KelDataSource() = default;

KelDataSource& KelDataSource::operator=(const KelDataSource& other) = default;

bool KelDataSource::operator==(const KelDataSource& other) const {
    return KelString::compareNoCase(name, other.name) == 0 &&
           KelString::compareNoCase(platform, other.platform) == 0;
}
