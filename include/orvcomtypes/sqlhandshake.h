/// The question that every host of `COrvSQLStr` has: do values reach the server as they were bound?
///
/// The builder doubles quotes and nothing else. Whether that is enough depends on what stands behind it: a
/// server that reads backslashes as escapes or drops one before a line break, a driver manager that narrows
/// wide statements (a U+0127 that loses its high byte becomes an apostrophe and ends its literal), a code
/// page that lacks characters. So a host sends one literal with all of these before its first statement, and
/// again after each reconnect, through the very path that its statements take, and goes on only when it comes
/// back unchanged. It needs no more than to execute a statement and to fetch one text.
///
/// A path that damages texts on the way in and repairs them on the way out passes that check, though others
/// find the stored values damaged. Where the server can spell the bytes of a text, ask it for those as well.
///
/// Which conversion a host uses matters too: `UnicodeToUTF8` and `CToUTF8` take code units one by one and
/// keep no emoji; `WideCharToMultiByte` keeps all.
///
/// The text does no harm when it is misread: what stands behind any of its characters is no statement.
///
/// Ownership: both texts are the caller's own.
/// Thread safety: reentrant.
/// Errors: none are reported; out of memory throws `CLQMemoryExcept`.
///
///     COrvSQLStr sql(ORVTEXT("SELECT "));
///     sql & NVARCHAR{GetSQLHandshakeText(), 0, 0};
///     const COrvStr sFault = CheckSQLHandshakeText(FetchOneText(sql));
///     if (!sFault.IsEmpty())
///         Refuse(sFault); // "the text was changed on its way: at character 14 U+0127 was sent, U+0027 …"
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

ORV_VALUES_BEGIN

/// The text to bind, as the host binds its values: quotes, backslashes (before quotes, before line breaks and
/// at the end), what drivers take for parameters, escapes or comments, all control characters but NUL, and
/// letters, signs and an emoji whose bytes are taken for quotes or backslashes in some code page.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GetSQLHandshakeText();

/// Empty when \p sReturned is that text; else what came back instead. Null counts as empty.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL CheckSQLHandshakeText(const WCHAR* sReturned);

/// The same for the text's bytes as the server holds them, in hexadecimal digits of either case: UTF-8, or
/// UTF-16 with the low byte first.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL CheckSQLHandshakeHex(const WCHAR* sReturned, bool bUTF16);

ORV_VALUES_END
