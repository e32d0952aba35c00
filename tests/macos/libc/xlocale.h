#pragma once

// What libc++ asks of a Mac's C library, xlocale(3), and this machine's does not have.

#include <ctype.h>
#include <locale.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <wchar.h>
#include <wctype.h>

// Functions on a Mac; here macros, which take no null for the locale.
#undef isdigit_l
#undef islower_l
#undef isupper_l
#undef isxdigit_l

#define MB_CUR_MAX_L(locale) 1

extern "C" {
int asprintf_l(char** made, locale_t locale, const char* format, ...);
int snprintf_l(char* buffer, size_t size, locale_t locale, const char* format, ...);
int sscanf_l(const char* text, locale_t locale, const char* format, ...);
wint_t btowc_l(int character, locale_t locale);
int wctob_l(wint_t character, locale_t locale);
size_t mbrlen_l(const char* text, size_t size, mbstate_t* state, locale_t locale);
size_t mbrtowc_l(wchar_t* wide, const char* text, size_t size, mbstate_t* state, locale_t locale);
int mbtowc_l(wchar_t* wide, const char* text, size_t size, locale_t locale);
size_t mbsnrtowcs_l(wchar_t* wide, const char** text, size_t in, size_t out, mbstate_t* state, locale_t locale);
size_t mbsrtowcs_l(wchar_t* wide, const char** text, size_t out, mbstate_t* state, locale_t locale);
size_t wcrtomb_l(char* text, wchar_t wide, mbstate_t* state, locale_t locale);
size_t wcsnrtombs_l(char* text, const wchar_t** wide, size_t in, size_t out, mbstate_t* state, locale_t locale);
struct lconv* localeconv_l(locale_t locale);
}
