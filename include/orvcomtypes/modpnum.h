/// Numbers as narrow decimal text, quickly and alike in every locale.
///
/// Each function writes the terminated text to \p str. Integers take up to 21 bytes with the terminator,
/// doubles up to 23. Thread safety: all functions are reentrant. Errors: none; \p str must be large enough.
///
/// Doubles are rounded as binary arithmetic gives it, which is fast and not exact: the fraction is multiplied
/// by the power of ten in double precision, and what is then a half, or less than 1e-12 below it, is a tie. A
/// tie is rounded up where the last digit is odd, and where all decimals are 0; without a carry, so 0.995
/// with two decimals is "0.100". Use `COrvStr::AppendDouble` for decimals that are exact.
///
///     char sPrice[32];
///     modp_dtoa(1.5, sPrice, 2); // "1.50"
#pragma once

#include "orvcomtypes/orvexport.h"

#include <cstdint>

/// The shortest decimal form, with "-" in front of a negative number.
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_itoa10(std::int32_t value, char* str);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_uitoa10(std::uint32_t value, char* str);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_litoa10(std::int64_t value, char* str);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_ulitoa10(std::uint64_t value, char* str);

/// Exactly \p prec decimals, 0 to 9. Magnitudes above 2147483647 are written as by "%e"; "nan" and "inf" for
/// what is no number.
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_dtoa(double value, char* str, int prec);
/// At most \p prec decimals: zeros at the end are left out, and with them the point.
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_dtoa2(double value, char* str, int prec);
