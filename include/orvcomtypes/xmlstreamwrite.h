/// `CXMLStreamWrite`, which writes an XML 1.0 document to a stream as it is told its parts.
///
/// The document is never in memory: the writer keeps a buffer of fixed size, the names of the open elements
/// and the namespaces that hold there. What is written is well-formed, also with regard to namespaces, at
/// every moment up to the elements that are open: names, their nesting and all characters are checked, and a
/// call that would break the document writes nothing.
///
/// Such a call is refused: it returns false, and so does every later one, until `ClearError`. So a host may
/// write a whole document and look once, at what `Finish` returns. `Finish` closes what is open also after an
/// error, which leaves a well-formed document (once it has a root) of all that was written before, and
/// returns false. After `ClearError` the writer goes on as if the refused call had not been made.
///
/// A reader gets back every text as it was written: markup is escaped, and so are carriage returns, and in
/// attributes line feeds and tabs, which readers would change. "]]>" splits a CDATA section in two. In
/// comments and instructions nothing can be escaped: readers make line feeds of their carriage returns. There
/// are no document type declarations.
///
/// Ownership: refers to its stream, which must outlive it. Texts are read during the call only.
/// Thread safety: one writer belongs to one thread at a time.
/// Errors: the functions return false and `GetError` says why, see `LQXMLError`. The program's own faults are
///   reported too, each as it is refused first (source `xmlstreamwrite`): "IsName(sName)",
///   "IsBound(sPrefix)", "IsNew(sName)" and "MayStandHere()". Where the stream fails, `GetStreamError` has
///   its code and everything behind is dropped; the document ends anywhere then. A writer that is destroyed
///   without `Finish` gives on what it holds and, unless it has an error, reports "m_bFinished" from
///   "CXMLStreamWrite::~CXMLStreamWrite". Only the constructor throws, `CLQMemoryExcept` without memory.
/// Units: terminated UTF-16 text; a character of two units stands whole in one call. The buffer takes 8192
///   units, and a stream gets blocks of at most 24 KB.
///
///     OCT::CStrWrtStream stream;
///     CXMLStreamWrite xml(stream);
///     xml.StartElement(ORVTEXT("order"), ORVTEXT("urn:orders"));
///     xml.Attribute(ORVTEXT("id"), 12);
///     xml.Element(ORVTEXT("customer"), ORVTEXT("Smith & Sons"));
///     xml.Element(ORVTEXT("sent"), COrvTime::FromYMD(2024, 5, 6, 7, 8, 9));
///     if (xml.Finish())
///         ShowText(stream.GetText());
///     // <order xmlns="urn:orders" id="12"><customer>Smith &amp; Sons</customer><sent>2024-05-06T07:08:09Z…
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/wrtstream.h"
#include "orvcomtypes/xmlvalue.h"

#include <windows.h>

/// Why a call was refused.
enum LQXMLError : int
{
    lqxNone = 0,
    lqxName = 1,      ///< is no name, or one that only declarations may have
    lqxNamespace = 2, ///< a prefix that stands for nothing here, or may not stand for that
    lqxDuplicate = 3, ///< an attribute that the element has already
    lqxNesting = 4,   ///< may not stand here: outside the one root element, an attribute behind content
    lqxCharacter = 5, ///< a character that XML forbids, or "--" or "?>" where that would end the item
    lqxValue = 6,     ///< a value that has no form
    lqxMemory = 7,
    lqxStream = 8 ///< the stream failed; nothing clears that
};

/// The encoding of the document.
enum LQXMLEncoding : int
{
    lqxUTF8 = 0,
    lqxUTF16 = 1 ///< little-endian, with its mark
};

/// What becomes of an element that is NULL.
enum LQXMLNull : int
{
    lqxNil = 0,     ///< an empty element with xsi:nil="true"
    lqxLeaveOut = 1 ///< nothing
};

/// What a writer is told once.
struct CXMLOptions
{
    /// Of bytes; a stream of units gets UTF-16 without a mark.
    LQXMLEncoding m_eEncoding = lqxUTF8;
    /// What becomes of an element that is NULL. (An attribute that is NULL is always left out.)
    LQXMLNull m_eNull = lqxNil;
    /// Blanks a level; 0: no white space is added. None is added to an element from its first text on.
    unsigned m_nIndent = 0;
    /// Forbidden characters become U+FFFD, and blanks part "--" and "?>", instead of being refused.
    bool m_bReplace = false;
    /// Whether the document begins with the XML declaration.
    bool m_bDeclaration = true;
    /// Whether UTF-8 begins with a byte order mark.
    bool m_bUTF8Mark = false;
};

class CXMLWriteState;

class ORV_API CXMLStreamWrite
{
public:
    /// Writes to \p stream, which must outlive the writer.
    explicit CXMLStreamWrite(OCT::IWrtStream& stream, const CXMLOptions& options = CXMLOptions());
    CXMLStreamWrite(const CXMLStreamWrite&) = delete;
    CXMLStreamWrite& operator=(const CXMLStreamWrite&) = delete;
    ~CXMLStreamWrite();

    // ---- Elements ----

    /// Opens an element. A name may have a prefix ("p:name"), which must stand for a namespace. With \p sUri
    /// it is made to stand for that one from here on, unless it does already; the name without a prefix has
    /// the default namespace, which an empty \p sUri takes away.
    bool StartElement(const WCHAR* sName, const WCHAR* sUri = nullptr);
    /// Closes the innermost element.
    bool EndElement();
    /// A whole element of the innermost one's content: NULL as the options say.
    bool Element(const WCHAR* sName, const CXMLValue& value);

    // ---- Directly behind StartElement ----

    /// Lets a prefix, or with an empty one names without a prefix, stand for a namespace in this element;
    /// nothing is written where it does already. Before the prefix is used in this element.
    bool DeclareNamespace(const WCHAR* sPrefix, const WCHAR* sUri);
    /// An attribute has a namespace by its prefix only. NULL writes nothing.
    bool Attribute(const WCHAR* sName, const CXMLValue& value);

    // ---- Content ----

    /// Appends to the innermost element's text. NULL and empty text write nothing.
    bool Text(const CXMLValue& value);
    /// The same, as a section that people can read.
    bool CData(const CXMLValue& value);
    /// Also outside the root element.
    bool Comment(const WCHAR* sText);
    bool Instruction(const WCHAR* sTarget, const WCHAR* sData = nullptr);

    // ---- The end, and errors ----

    /// Gives the stream what is complete so far.
    bool Flush();
    /// Closes all open elements and gives all on. True when this is the whole document: every call was taken,
    /// there is a root element, and the stream has everything. Nothing can be written afterwards.
    [[nodiscard]] bool Finish();

    LQXMLError GetError() const noexcept;
    /// What the stream said; `ERROR_SUCCESS` while it has not failed.
    DWORD GetStreamError() const noexcept;
    void ClearError() noexcept;

private:
    CXMLWriteState* m_pState;
};
