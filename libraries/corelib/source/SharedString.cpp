#include "SharedString.h"

#include <type_traits>
#include <utility>

namespace MovrikCorelib {

/// The statics of one character type.
template <class Char>
struct SharedString::Pool {
    static constexpr bool isWide = std::is_same_v<Char, wchar_t>;

    static auto& bank() {
        if constexpr (isWide)
            return WStringBank;
        else
            return StringBank;
    }
    static auto& map() {
        if constexpr (isWide)
            return WStringMap;
        else
            return StringMap;
    }
    static auto& free() {
        if constexpr (isWide)
            return WFree;
        else
            return Free;
    }
    static void deleteTexts() {
        map().clear();
        for (auto& record : bank())
            record.text.reset();
    }
};

SharedString::SharedString(const SharedString& other)
    : wide(other.wide), index(other.index), length(other.length) {
    addReference();
}

SharedString& SharedString::operator=(const SharedString& other) {
    wide = other.wide;
    index = other.index;
    length = other.length;
    addReference();
    return *this;
}

SharedString& SharedString::operator=(const std::string& text) {
    set(text);
    return *this;
}

SharedString& SharedString::operator=(const std::wstring& text) {
    set(text);
    return *this;
}

void SharedString::set(const std::string& text) {
    store(text);
}

void SharedString::set(const std::wstring& text) {
    store(text);
}

void SharedString::clear() {
    if (index != Unset) {
        if (wide)
            release<wchar_t>();
        else
            release<char>();
    }
    index = Unset;
    length = 0;
    wide = false;
}

const std::string& SharedString::get() const {
    const std::string* text = stored<char>();
    return text ? *text : nstring;
}

const std::wstring& SharedString::getW() const {
    const std::wstring* text = stored<wchar_t>();
    return text ? *text : nwstring;
}

int SharedString::compare(const SharedString& other) const {
    if (index == Unset)
        return other.index == Unset ? 0 : -1;
    if (other.index == Unset)
        return 1;
    if (wide != other.wide)
        return wide ? 1 : -1;
    if (index == other.index)
        return 0;
    return wide ? getW().compare(other.getW()) : get().compare(other.get());
}

void SharedString::clearAll() {
    Pool<char>::deleteTexts();
    Pool<wchar_t>::deleteTexts();
}

/// Takes a copy: the text may be the one that `clear` frees.
template <class Char>
void SharedString::store(std::basic_string<Char> text) {
    using Shared = Pool<Char>;
    clear();
    wide = Shared::isWide;
    length = text.size();
    if (const auto found = Shared::map().find(&text); found != Shared::map().end()) {
        index = found->second;
        ++Shared::bank()[index].count;
        return;
    }
    auto copy = std::make_unique<std::basic_string<Char>>(std::move(text));
    if (Shared::free().empty()) {
        Shared::bank().emplace_back();
        Shared::free().push_back(Shared::bank().size() - 1);
    }
    const unsigned long long place = Shared::free().front();
    Shared::map().emplace(copy.get(), place);
    Shared::free().pop_front();
    Shared::bank()[place] = {std::move(copy), 1};
    index = place;
}

template <class Char>
void SharedString::release() {
    using Shared = Pool<Char>;
    auto& record = Shared::bank()[index];
    if (--record.count > 0)
        return;
    if (record.text)
        Shared::map().erase(record.text.get());
    Shared::free().push_back(index);
    record.text.reset();
}

template <class Char>
const std::basic_string<Char>* SharedString::stored() const {
    if (index == Unset || wide != Pool<Char>::isWide)
        return nullptr;
    return Pool<Char>::bank()[index].text.get();
}

void SharedString::addReference() {
    if (index == Unset)
        return;
    ++(wide ? WStringBank[index].count : StringBank[index].count);
}

}  // namespace MovrikCorelib
