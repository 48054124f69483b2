/// `CLQMessage` and `CLQMessages`: user-visible messages in a form that knows no language.
///
/// A message is a code, the id of a string resource and a list of typed parameters; it becomes text only when
/// it is shown, in the language of whoever looks. Ids 1 to 5 are built-in formats ("%1", "%1 %2", "%1 %2 %3",
/// "%1|%2", "%1|%2|%3"); 0 is none. The array of parameters, and that of a list's messages, exists from the
/// first one on.
///
/// Ownership: messages and lists are values; copying copies everything.
/// Thread safety: none; a message must not be changed while another thread formats it.
/// Errors: source `lqmessage`; the getters report the wrong type (as "param.paramType == msty_String") and
///   return the slot as it is; "sFormat.IsEmpty()" with the id when a resource is missing; a parameter that
///   has no text form without a condition text. An index outside a list, or of a parameter, throws
///   `CLQInvalidargExcept`, missing memory `CLQMemoryExcept`.
///
///     CLQMessage message(26100, 0);
///     message.AddParam(ORVTEXT("orders"));
///     message.AddParam(12);
///     COrvStr sText = message.Format(nullptr);   // the resource's text with %1 and %2 replaced
#pragma once

#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace OCT
{
class IWrtStream;
}

/// What a parameter is.
enum LQMessageParamType : int
{
    msty_Long = 1,
    msty_Double = 2,
    msty_String = 3,
    msty_FullTime = 4, ///< shown with date and time
    msty_OnlyDate = 5,
    msty_OnlyTime = 6,
    msty_ResId = 7 ///< shown as that resource's text
};

class CLQMessageParams;
class CLQMessageArray;

class ORV_API CLQMessage
{
public:
    /// Texts that are not null become parameters, up to the first null one.
    explicit CLQMessage(unsigned uResId = 0, LONG iCode = 0, const WCHAR* p1 = nullptr,
                        const WCHAR* p2 = nullptr, const WCHAR* p3 = nullptr);
    CLQMessage(const CLQMessage& message);
    CLQMessage& operator=(const CLQMessage& message);
    ~CLQMessage();

    /// What the constructor was given.
    LONG GetCode() const noexcept { return m_iCode; }
    unsigned GetResId() const noexcept { return m_uResId; }

    /// Appends a parameter, "%1" for the first. A text is copied; null is an empty one.
    void AddParam(const WCHAR* sText);
    void AddParam(const COrvStr& sText);
    void AddParam(LONG iValue);
    /// Any other integer. Every one is kept as a `LONG`, so that of a wider one the low 32 bits stay.
    template <class Int>
    requires(std::is_integral_v<Int> || std::is_enum_v<Int>) void AddParam(Int iValue)
    {
        AddParam(static_cast<LONG>(iValue));
    }
    void AddParam(double dValue);
    /// \p type is one of the three time types.
    void AddParam(const COrvTime& time, LQMessageParamType type);
    /// Appends a string resource, whose text is looked up when the message is shown.
    void AddResIdParam(unsigned uResId);

    /// The parameters; the getter of another type than the parameter has is reported.
    unsigned GetParamCount() const noexcept;
    LQMessageParamType GetParamType(unsigned uIndex) const;
    COrvStr GetStrParam(unsigned uIndex) const;
    LONG GetLngParam(unsigned uIndex) const;
    double GetDblParam(unsigned uIndex) const;
    COrvTime GetTimeParam(unsigned uIndex) const;

    /// The text in the language of \p hModule; null for the current language. Numbers are in the manner of
    /// the user's locale, or plain digits where there is no memory for that.
    COrvStr Format(HINSTANCE hModule) const;
    COrvStr Format(std::nullptr_t) const { return Format(HINSTANCE()); }
    /// The parameters put into \p sFormat, or listed one by one when it is ListParams(). The first ten can be
    /// referenced; those beyond are empty. A null format is an empty one.
    COrvStr Format(const WCHAR* sFormat) const;
    /// Given to `Format` as a format: all parameters one by one, for logs.
    static const WCHAR* ListParams() noexcept { return reinterpret_cast<const WCHAR*>(1); }

private:
    LONG m_iCode;
    unsigned m_uResId;
    CLQMessageParams* m_pParams;
};

/// What a list of messages is serialised to.
struct CodeMessage
{
    LONG m_iCode;    ///< the code of the message
    COrvStr m_sText; ///< in the current language
};

class ORV_API CLQMessages
{
public:
    CLQMessages() noexcept : m_pMessages(nullptr) {}
    CLQMessages(const CLQMessages& messages);
    /// Leaves \p messages empty.
    CLQMessages(CLQMessages&& messages) noexcept : m_pMessages(std::exchange(messages.m_pMessages, nullptr))
    {
    }
    CLQMessages& operator=(CLQMessages messages) noexcept
    {
        std::swap(m_pMessages, messages.m_pMessages);
        return *this;
    }
    ~CLQMessages();

    /// Appends a message. Code and id stand the other way round than in `CLQMessage`.
    void Add(LONG iCode, unsigned uResId, const WCHAR* p1 = nullptr, const WCHAR* p2 = nullptr,
             const WCHAR* p3 = nullptr);
    void Add(const CLQMessage& message);
    /// Appends the messages of another list, or of this one again.
    void Add(const CLQMessages& messages);

    /// An index that does not exist throws `CLQInvalidargExcept`, and so does `Last` of an empty list.
    const CLQMessage& GetItem(unsigned uIndex) const;
    CLQMessage& GetItem(unsigned uIndex);
    const CLQMessage& Last() const;
    CLQMessage& Last();
    unsigned GetCount() const noexcept;
    bool IsEmpty() const noexcept { return GetCount() == 0; }

    /// The texts of all messages, a line each.
    COrvStr Format(HINSTANCE hModule) const;

    /// Appends code and text of each message. Inline, so that the vector stays in the caller's module.
    void Serialize(std::vector<CodeMessage>& messages) const
    {
        for (unsigned i = 0; i < GetCount(); ++i)
            messages.push_back({GetItem(i).GetCode(), GetItem(i).Format(HINSTANCE())});
    }
    /// Does nothing, on purpose: a place kept in the interface.
    void Serialize(OCT::IWrtStream*) const {}

private:
    CLQMessageArray* m_pMessages;
};
