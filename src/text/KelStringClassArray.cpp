#include <kel/KelStringClassArray.h>

KelStringClassArray::KelStringClassArray(long physical, long grow)
    : m_array(new Elements(physical, grow)) {}

KelStringClassArray::KelStringClassArray(const KelStringClassArray& other) : m_array(new Elements) {
    *this = other;
}

KelStringClassArray::~KelStringClassArray() {
    delete m_array;
}

KelStringClassArray& KelStringClassArray::operator=(const KelStringClassArray& other) {
    if (this != &other)
        *m_array = *other.m_array;
    return *this;
}

KelString& KelStringClassArray::operator[](long i) {
    return (*m_array)[i];
}
const KelString& KelStringClassArray::operator[](long i) const {
    return (*m_array)[i];
}
KelString KelStringClassArray::at(long i) {
    return m_array->at(i);
}
KelString& KelStringClassArray::first() {
    return m_array->first();
}
const KelString& KelStringClassArray::first() const {
    return m_array->first();
}
KelString& KelStringClassArray::last() {
    return m_array->last();
}
const KelString& KelStringClassArray::last() const {
    return m_array->last();
}

KelStringClassArray& KelStringClassArray::setAt(long i, const KelString& value) {
    m_array->setAt(i, value);
    return *this;
}

KelStringClassArray& KelStringClassArray::setAll(const KelString& value) {
    m_array->setAll(value);
    return *this;
}

long KelStringClassArray::append(const KelString& value) {
    return m_array->append(value);
}

KelStringClassArray& KelStringClassArray::append(const KelStringClassArray& other) {
    m_array->append(*other.m_array);
    return *this;
}

KelStringClassArray& KelStringClassArray::insertAt(long i, const KelString& value) {
    m_array->insertAt(i, value);
    return *this;
}

KelStringClassArray& KelStringClassArray::removeAt(long i) {
    m_array->removeAt(i);
    return *this;
}

KelStringClassArray& KelStringClassArray::removeFirst() {
    m_array->removeFirst();
    return *this;
}

KelStringClassArray& KelStringClassArray::removeLast() {
    m_array->removeLast();
    return *this;
}

int KelStringClassArray::remove(const KelString& value, long start) {
    return m_array->remove(value, start);
}

int KelStringClassArray::contains(const KelString& value, long start) const {
    return m_array->contains(value, start);
}

int KelStringClassArray::find(const KelString& value, long& index, long start) const {
    return m_array->find(value, index, start);
}

int KelStringClassArray::bsearch(const KelString& value, long& index,
                                 int (*compare)(const void*, const void*)) const {
    return m_array->bsearch(value, index, compare);
}

int KelStringClassArray::lfind(const KelString& value, long& index,
                               int (*compare)(const void*, const void*), long start) const {
    return m_array->lfind(value, index, compare, start);
}

void KelStringClassArray::sort(int (*compare)(const void*, const void*)) {
    m_array->sort(compare);
}

void KelStringClassArray::sort(long first, long last, int (*compare)(const void*, const void*)) {
    m_array->sort(first, last, compare);
}

KelStringClassArray& KelStringClassArray::reverse() {
    m_array->reverse();
    return *this;
}

KelStringClassArray& KelStringClassArray::swap(long i, long j) {
    m_array->swap(i, j);
    return *this;
}

long KelStringClassArray::length() const {
    return m_array->length();
}
long KelStringClassArray::logicalLength() const {
    return m_array->logicalLength();
}
int KelStringClassArray::isEmpty() const {
    return m_array->isEmpty();
}

KelStringClassArray& KelStringClassArray::setLogicalLength(long n) {
    m_array->setLogicalLength(n);
    return *this;
}

long KelStringClassArray::physicalLength() const {
    return m_array->physicalLength();
}

KelStringClassArray& KelStringClassArray::setPhysicalLength(long n) {
    m_array->setPhysicalLength(n);
    return *this;
}

long KelStringClassArray::growLength() const {
    return m_array->growLength();
}

KelStringClassArray& KelStringClassArray::setGrowLength(long n) {
    m_array->setGrowLength(n);
    return *this;
}
