/// `CLQMessage` and `CLQMessages`: user-visible messages in a form that knows no language.
///
/// A message is a code, the id of a string resource and a list of typed parameters; it becomes text only when
/// it is shown, in the language of whoever looks. Ids 1 to 5 are built-in formats ("%1", "%1 %2", "%1 %2 %3",
/// "%1|%2", "%1|%2|%3"); 0 is none. The array of parameters, and that of a list's messages, exists from the
/// first one on.
///
/// Ownership: messages and lists are values; copying copies everything.
/// Lifetime: usable in static constructors and destructors too. After `UninitOrvComTypes` there is no
///   language until one is chosen anew: texts are then those of missing resources.
/// Thread safety: several threads may read and format a message; it must not be changed meanwhile.
/// Errors: reports (source `lqmessage`) stand at the members. An index outside a list, or of a parameter that
///   there is not, throws `CLQInvalidargExcept`. Missing memory throws `CLQMemoryExcept`, but for what
///   `Format` names; what was added to is then as before, or empty when its array would have had to grow.
///
///     CLQMessage message(26100, 0);
///     message.AddParam(ORVTEXT("orders"));
///     message.AddParam(12);
///     COrvStr sText = message.Format(nullptr);   // the resource's text with %1 and %2 replaced
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"

#include <windows.h>

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace OCT
{
class IWrtStream;
}

/// What a parameter is. `Format` shows whole numbers, texts and resources; the others are shown by those who
/// read them.
enum LQMessageParamType : int
{
    msty_Long = 1,
    msty_Double = 2,
    msty_String = 3,
    msty_FullTime = 4, ///< to be shown with date and time
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
    /// Appends a string resource, whose text is looked up when the message is shown; 0 is an empty text.
    void AddResIdParam(unsigned uResId);

    /// The parameters: how many there are, and the type of one.
    unsigned GetParamCount() const noexcept;
    LQMessageParamType GetParamType(unsigned uIndex) const;

    // Of a parameter of another type a getter reports what it wanted, and gives what stands in its slot: an
    // empty text, 0, or the null time.

    /// Reports "param.paramType == msty_String".
    COrvStr GetStrParam(unsigned uIndex) const;
    /// Reports "param.paramType == msty_Long".
    LONG GetLngParam(unsigned uIndex) const;
    /// Reports "param.paramType == msty_Double".
    double GetDblParam(unsigned uIndex) const;
    /// Reports "param.paramType == msty_FullTime || param.paramType == msty_OnlyDate || param.paramType ==
    /// msty_OnlyTime".
    COrvTime GetTimeParam(unsigned uIndex) const;

    /// The text in the language of \p hModule; null for the current language. For an id of 0 a text that says
    /// so. Reports "sFormat.IsEmpty()" with the id when the resource is missing, and gives the generic text
    /// for that with the id behind it, or "Internal error, invalid resource parameters. " and the id.
    COrvStr Format(HINSTANCE hModule) const;
    COrvStr Format(std::nullptr_t) const { return Format(HINSTANCE()); }
    /// The parameters put into \p sFormat, or listed one by one when it is ListParams(). The first ten can be
    /// referenced; those beyond are empty. A null format is an empty one. Integers are in the manner of the
    /// user's locale and cut at its first "." or ",", deliberately also where that groups the digits; they
    /// are plain digits where there is no memory for that. Reports, without a condition, a number with
    /// decimals or a time, and leaves it empty: those are for callers that read them. A format that the
    /// system refuses or finds no memory for, and a text beyond 999 units, gives "Internal error, invalid
    /// resource parameters.  ", and in parentheses the system's error and the format.
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

    /// The texts of all messages with line breaks between them; empty for none.
    COrvStr Format(HINSTANCE hModule) const;

    /// Appends code and text of each message, in the current language; the vector may throw `std::bad_alloc`.
    /// Inline, so that the vector stays in the caller's module.
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
