#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MovrikCorelib {

/// A string of a process-wide pool: equal texts share one stored copy, and a copy of an instance costs one
/// count. Narrow and wide texts have pools of their own. The pools are not guarded: callers from several
/// threads keep each other out.
class SharedString {
public:
    SharedString() = default;
    SharedString(const std::string& text) { set(text); }
    SharedString(const std::wstring& text) { set(text); }
    SharedString(const SharedString& other);
    virtual ~SharedString() { clear(); }

    /// Keeps the text that this instance held in the pool for good: others in the field still point to it.
    SharedString& operator=(const SharedString& other);
    SharedString& operator=(const std::string& text);
    SharedString& operator=(const std::wstring& text);

    /// Release the text held before.
    void set(const std::string& text);
    void set(const std::wstring& text);
    /// Unset from now on; the last instance of a text frees it.
    void clear();

    /// Of a narrow and of a wide instance; the other form is empty, like an unset instance. The reference
    /// holds until the text is freed.
    const std::string& get() const;
    const std::wstring& getW() const;
    bool isWide() const { return wide; }

    /// Negative, 0 or positive: unset before set, narrow before wide, then by text.
    int compare(const SharedString& other) const;

    /// Frees all texts. Instances that still hold one read as empty; what is set later is stored anew.
    static void clearAll();

private:
    struct StringPointer {
        std::unique_ptr<std::string> text;
        unsigned int count = 0;
    };
    struct WStringPointer {
        std::unique_ptr<std::wstring> text;
        unsigned int count = 0;
    };

    /// Orders by the texts pointed to, a null pointer first.
    template <class T>
    struct less_ptr {
        bool operator()(const T* a, const T* b) const { return b && (!a || *a < *b); }
    };

    template <class Char>
    struct Pool;

    static constexpr unsigned long long Unset = ~0ULL;

    template <class Char>
    void store(std::basic_string<Char> text);
    template <class Char>
    void release();
    template <class Char>
    const std::basic_string<Char>* stored() const;
    void addReference();

    inline static std::vector<StringPointer> StringBank;
    inline static std::vector<WStringPointer> WStringBank;
    inline static std::map<const std::string*, unsigned long long, less_ptr<std::string>> StringMap;
    inline static std::map<const std::wstring*, unsigned long long, less_ptr<std::wstring>> WStringMap;
    inline static std::list<unsigned long long> Free;
    inline static std::list<unsigned long long> WFree;
    inline static const std::string nstring;
    inline static const std::wstring nwstring;

    bool wide = false;
    unsigned long long index = Unset;
    unsigned long length = 0;  ///< in characters
};

}  // namespace MovrikCorelib
