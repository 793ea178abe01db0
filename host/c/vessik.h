/* C interface of the Vessik drawing reader.
 *
 * Five classes are reachable through opaque handles: Vessik_Parser,
 * Vessik_Progress, Vessik_Layer, Vessik_Color and Vessik_CommonData. Every handle
 * is reference counted: a function that hands out a handle (a _Create function,
 * a property that returns an object, an element of Layers) gives the caller one
 * reference, which the caller drops with the class's _Release function. _AddRef
 * takes another reference to the same object.
 *
 * Every function that can fail returns 0 on success and a non-zero value on
 * failure, and fills the caller's error record when one is given (the record may
 * be NULL). A failed call leaves its output arguments unchanged. An error record
 * starts as VESSIK_ERROR_INIT and owns its texts: a failure replaces what it held,
 * and vessik_error_clear frees it at its end.
 *
 * Texts are bytes: values read from a drawing keep the file's bytes unchanged,
 * and a path is taken as UTF-8. A text handed out by the library ends in a NUL
 * byte, carries its length in bytes, and is freed with vessik_string_free.
 *
 * Threads: each object is used on one thread at a time. The Progress event, the
 * message pump and the message box run on the thread that called Parse2. The
 * hooks are set for the calling thread only.
 *
 * This header is C99 and C++. */
#ifndef VESSIK_H
#define VESSIK_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(VESSIK_C_BUILDING)
#define VESSIK_API __declspec(dllexport)
#else
#define VESSIK_API __declspec(dllimport)
#endif
#elif defined(VESSIK_C_BUILDING)
#define VESSIK_API __attribute__((visibility("default")))
#else
#define VESSIK_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The opaque handles of the five public classes. */
typedef struct Vessik_Parser Vessik_Parser;
typedef struct Vessik_Progress Vessik_Progress;
typedef struct Vessik_Layer Vessik_Layer;
typedef struct Vessik_Color Vessik_Color;
typedef struct Vessik_CommonData Vessik_CommonData;

/* A failure: its number, its source (empty when none) and its description. */
typedef struct vessik_error {
  int32_t number;
  char* source;
  char* description;
} vessik_error;

/* An initialiser for an error record: vessik_error err = VESSIK_ERROR_INIT; */
#define VESSIK_ERROR_INIT \
  { 0, NULL, NULL }

/* Frees the texts of the record and sets it back to number 0. NULL is allowed. */
VESSIK_API void vessik_error_clear(vessik_error* error);

/* Frees a text handed out by the library. NULL is allowed. */
VESSIK_API void vessik_string_free(char* text);

/* The numbers of every failure the library raises; the README's table of
 * failures gives their words and causes. */
#define VESSIK_E_INVALID_CALL 5
#define VESSIK_E_OVERFLOW 6
#define VESSIK_E_OUT_OF_MEMORY 7
#define VESSIK_E_SUBSCRIPT 9
#define VESSIK_E_DIVISION_BY_ZERO 11
#define VESSIK_E_TYPE_MISMATCH 13
#define VESSIK_E_OUT_OF_STACK 28
#define VESSIK_E_FILE_NOT_FOUND 53
#define VESSIK_E_PATH_ACCESS 75
#define VESSIK_E_OBJECT_NOT_SET 91
#define VESSIK_E_SECTION_NOT_FOUND ((int32_t)-2147221503)   /* 0x80040001 */
#define VESSIK_E_PARSING_FAILED ((int32_t)-2147221501)      /* 0x80040003 */
#define VESSIK_E_INSERT_COMPONENT ((int32_t)-2147221404)    /* 0x80040064 */
#define VESSIK_E_TOO_MANY_ITERATIONS ((int32_t)-2147221403) /* 0x80040065 */
#define VESSIK_E_INVALID_SPAN ((int32_t)-2147221402)        /* 0x80040066 */

/* Creates an object of the class of this name: "Vessik_Parser",
 * "Vessik_Progress", "Vessik_Layer", "Vessik_Color" or "Vessik_CommonData".
 * *out becomes a handle of that class, with one reference. Another name fails
 * with 5. */
VESSIK_API int vessik_create(const char* class_name, void** out, vessik_error* error);

/* Vessik_Parser ---------------------------------------------------------- */

VESSIK_API int vessik_parser_create(Vessik_Parser** out, vessik_error* error);
VESSIK_API void vessik_parser_addref(Vessik_Parser* parser);
VESSIK_API void vessik_parser_release(Vessik_Parser* parser);

/* Reads the drawing at the path and hands out its text in *text (length in
 * *length, which may be NULL). Data and Progress may be NULL: the parse then
 * fails with 91 as soon as it needs them. */
VESSIK_API int vessik_parser_parse2(Vessik_Parser* parser, const char* the_file,
                                    Vessik_CommonData* data, Vessik_Progress* progress, char** text,
                                    size_t* length, vessik_error* error);

/* The layers of the last parse: an array of *count handles, each one reference.
 * Free the whole with vessik_layers_free. An empty list gives NULL and 0. */
VESSIK_API int vessik_parser_get_layers(Vessik_Parser* parser, Vessik_Layer*** layers,
                                        size_t* count, vessik_error* error);
/* Releases each handle of the array and frees the array. */
VESSIK_API void vessik_layers_free(Vessik_Layer** layers, size_t count);

/* Vessik_Progress -------------------------------------------------------- */

/* The Progress event: called with the value, synchronously, on the thread of
 * the call that raised it. */
typedef void (*vessik_progress_handler)(void* context, int32_t value);

VESSIK_API int vessik_progress_create(Vessik_Progress** out, vessik_error* error);
VESSIK_API void vessik_progress_addref(Vessik_Progress* progress);
VESSIK_API void vessik_progress_release(Vessik_Progress* progress);
VESSIK_API int vessik_progress_get_iscanceled(Vessik_Progress* progress, int* value,
                                              vessik_error* error);
VESSIK_API int vessik_progress_set_iscanceled(Vessik_Progress* progress, int value,
                                              vessik_error* error);
VESSIK_API int vessik_progress_doprogress(Vessik_Progress* progress, int32_t value,
                                          vessik_error* error);
/* Connects a handler; *cookie identifies it for vessik_progress_disconnect. */
VESSIK_API int vessik_progress_connect(Vessik_Progress* progress, vessik_progress_handler handler,
                                       void* context, int32_t* cookie, vessik_error* error);
VESSIK_API int vessik_progress_disconnect(Vessik_Progress* progress, int32_t cookie,
                                          vessik_error* error);

/* Vessik_Layer ----------------------------------------------------------- */

VESSIK_API int vessik_layer_create(Vessik_Layer** out, vessik_error* error);
VESSIK_API void vessik_layer_addref(Vessik_Layer* layer);
VESSIK_API void vessik_layer_release(Vessik_Layer* layer);
VESSIK_API int vessik_layer_get_name(Vessik_Layer* layer, char** name, size_t* length,
                                     vessik_error* error);
/* Sets the name to the given bytes (length bytes; NUL bytes are kept). */
VESSIK_API int vessik_layer_set_name(Vessik_Layer* layer, const char* name, size_t length,
                                     vessik_error* error);
/* The layer's colour object itself (not a copy), one reference; NULL if the
 * host has set none. */
VESSIK_API int vessik_layer_get_color(Vessik_Layer* layer, Vessik_Color** color,
                                      vessik_error* error);
/* Makes the layer refer to this colour object (NULL is allowed). */
VESSIK_API int vessik_layer_set_color(Vessik_Layer* layer, Vessik_Color* color,
                                      vessik_error* error);

/* Vessik_Color ----------------------------------------------------------- */

VESSIK_API int vessik_color_create(Vessik_Color** out, vessik_error* error);
VESSIK_API void vessik_color_addref(Vessik_Color* color);
VESSIK_API void vessik_color_release(Vessik_Color* color);
VESSIK_API int vessik_color_get_coloraci(Vessik_Color* color, int32_t* value, vessik_error* error);
/* Sets the colour number, and the RGB value with it. */
VESSIK_API int vessik_color_set_coloraci(Vessik_Color* color, int32_t value, vessik_error* error);
VESSIK_API int vessik_color_get_colorrgb(Vessik_Color* color, int32_t* value, vessik_error* error);
VESSIK_API int vessik_color_set_colorrgb(Vessik_Color* color, int32_t value, vessik_error* error);

/* Vessik_CommonData ------------------------------------------------------ */

VESSIK_API int vessik_commondata_create(Vessik_CommonData** out, vessik_error* error);
VESSIK_API void vessik_commondata_addref(Vessik_CommonData* data);
VESSIK_API void vessik_commondata_release(Vessik_CommonData* data);
VESSIK_API int vessik_commondata_get_tolerance(Vessik_CommonData* data, double* value,
                                               vessik_error* error);
VESSIK_API int vessik_commondata_set_tolerance(Vessik_CommonData* data, double value,
                                               vessik_error* error);
VESSIK_API int vessik_commondata_get_check(Vessik_CommonData* data, int32_t* value,
                                           vessik_error* error);
VESSIK_API int vessik_commondata_set_check(Vessik_CommonData* data, int32_t value,
                                           vessik_error* error);
VESSIK_API int vessik_commondata_get_arcmaximumdeviationfactor(Vessik_CommonData* data,
                                                               double* value, vessik_error* error);
VESSIK_API int vessik_commondata_set_arcmaximumdeviationfactor(Vessik_CommonData* data,
                                                               double value, vessik_error* error);
VESSIK_API int vessik_commondata_get_arcminimumsegmentlengthfactor(Vessik_CommonData* data,
                                                                   double* value,
                                                                   vessik_error* error);
VESSIK_API int vessik_commondata_set_arcminimumsegmentlengthfactor(Vessik_CommonData* data,
                                                                   double value,
                                                                   vessik_error* error);
VESSIK_API int vessik_commondata_get_arcmaximumsegmentlengthfactor(Vessik_CommonData* data,
                                                                   double* value,
                                                                   vessik_error* error);
VESSIK_API int vessik_commondata_set_arcmaximumsegmentlengthfactor(Vessik_CommonData* data,
                                                                   double value,
                                                                   vessik_error* error);
VESSIK_API int vessik_commondata_get_initialsegments(Vessik_CommonData* data, double* value,
                                                     vessik_error* error);
VESSIK_API int vessik_commondata_set_initialsegments(Vessik_CommonData* data, double value,
                                                     vessik_error* error);

/* Host services ---------------------------------------------------------- */

/* The host's message loop, run at most every 100 ms during a parse. */
typedef void (*vessik_pump_hook)(void* context);
/* The host's modal message box: shows the text and returns when dismissed. */
typedef void (*vessik_message_box_hook)(void* context, const char* text);

/* Sets or (with NULL) removes the hook of the calling thread. */
VESSIK_API void vessik_set_pump_hook(vessik_pump_hook hook, void* context);
VESSIK_API void vessik_set_message_box_hook(vessik_message_box_hook hook, void* context);

/* The memory a parse on the calling thread may hold at once, in bytes; past it the
   parse fails with VESSIK_E_OUT_OF_MEMORY. 0 restores the default: half of the
   physical memory, or half of the address space where that is capped. */
VESSIK_API void vessik_set_memory_budget(uint64_t bytes);
/* The budget of a parse started on the calling thread now. */
VESSIK_API uint64_t vessik_memory_budget(void);

/* Non-zero switches the parses on the calling thread to the true-geometry mode,
   which draws the drawing where the DXF format means it; 0 (the default) gives
   the default text. Same records, layers and failures. */
VESSIK_API void vessik_set_true_geometry(int on);
/* Non-zero when the parses on the calling thread use the true-geometry mode. */
VESSIK_API int vessik_true_geometry(void);

#ifdef __cplusplus
}
#endif

#endif /* VESSIK_H */
