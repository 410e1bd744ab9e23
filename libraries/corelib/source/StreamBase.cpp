#include "StreamBase.h"

namespace MovrikCorelib {

StreamBase& StreamBase::put(ElementDef element) {
    write(element);
    return *this;
}

StreamBase& StreamBase::operator<<(bool v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(char v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(wchar_t v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(int v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(unsigned int v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(long long v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(unsigned long long v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(double v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(const char* v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(const wchar_t* v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(const std::string& v) {
    push(v);
    return *this;
}

StreamBase& StreamBase::operator<<(const std::wstring& v) {
    push(v);
    return *this;
}

StreamBase& StreamBase::operator<<(const SharedString& v) {
    return put(v);
}

StreamBase& StreamBase::operator<<(const DateTime& v) {
    return put(v);
}

StreamBase& StreamBase::operator>>(bool& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(char& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(wchar_t& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(int& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(unsigned int& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(long long& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(unsigned long long& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(double& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(std::string& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(std::wstring& v) {
    pull(v);
    return *this;
}

StreamBase& StreamBase::operator>>(SharedString& v) {
    pull(v);
    return *this;
}

}  // namespace MovrikCorelib
