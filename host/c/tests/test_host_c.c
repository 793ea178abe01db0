/* Tests of the C interface, written in C99.
 *
 *   test_host_c EXPECT_HELPER CORPUS_DIR DRAWING_LIST WORK_DIR
 *
 * EXPECT_HELPER writes the library's own result for a drawing; the drawings of
 * DRAWING_LIST (paths relative to CORPUS_DIR) are parsed through this interface
 * and compared with it, and with their pinned outcomes in CORPUS_DIR/EXPECTED.tsv
 * at the tool's defaults and at the fine settings. Without the corpus those
 * comparisons are skipped, or fail when VESSIK_NO_SKIP is set. */
#define _POSIX_C_SOURCE 200809L

#include <openssl/evp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "vessik.h"

static int passed = 0;
static int failed = 0;
static int skipped = 0;

#define CHECK(cond)                                                      \
  do {                                                                   \
    if (cond) {                                                          \
      ++passed;                                                          \
    } else {                                                             \
      ++failed;                                                          \
      fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
    }                                                                    \
  } while (0)

static const char* work_dir = ".";

/* Settings used for every comparison with the library's own text. */
#define SET_TOLERANCE 0.01
#define SET_CHECK 0
#define SET_DEVIATION 0.01
#define SET_MINLENGTH 0.001
#define SET_MAXLENGTH 100.0
#define SET_INITIAL 4.0

static char* path_in_work(const char* name) {
  size_t n = strlen(work_dir) + strlen(name) + 2;
  char* p = (char*)malloc(n);
  if (p != NULL) snprintf(p, n, "%s/%s", work_dir, name);
  return p;
}

static char* write_file(const char* name, const char* content) {
  char* path = path_in_work(name);
  FILE* f = fopen(path, "wb");
  if (f != NULL) {
    fputs(content, f);
    fclose(f);
  }
  return path;
}

/* Reads a whole file; NULL if it cannot be read. */
static char* read_file(const char* path, size_t* length) {
  FILE* f = fopen(path, "rb");
  char* data;
  long size;
  if (f == NULL) return NULL;
  fseek(f, 0, SEEK_END);
  size = ftell(f);
  fseek(f, 0, SEEK_SET);
  data = (char*)malloc((size_t)size + 1);
  if (data != NULL) {
    *length = fread(data, 1, (size_t)size, f);
    data[*length] = '\0';
  }
  fclose(f);
  return data;
}

/* A drawing with a LAYER table of two layers and the given ENTITIES content. */
static const char* drawing_head =
    "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n70\n2\n"
    "0\nLAYER\n2\n0\n70\n0\n62\n7\n6\nCONTINUOUS\n"
    "0\nLAYER\n2\nWALLS\n70\n0\n62\n3\n6\nCONTINUOUS\n"
    "0\nENDTAB\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n";

static char* drawing(const char* name, const char* entities) {
  size_t n = strlen(drawing_head) + strlen(entities) + 64;
  char* text = (char*)malloc(n);
  char* path;
  snprintf(text, n, "%s%s0\nENDSEC\n0\nEOF\n", drawing_head, entities);
  path = write_file(name, text);
  free(text);
  return path;
}

/* Progress handler that records the values it gets. */
typedef struct {
  int count;
  int32_t values[64];
  Vessik_Progress* cancel_on; /* set IsCanceled on this object at the first value */
} recorder;

static void record(void* context, int32_t value) {
  recorder* r = (recorder*)context;
  if (r->count < 64) r->values[r->count] = value;
  r->count++;
  if (r->cancel_on != NULL) vessik_progress_set_iscanceled(r->cancel_on, 1, NULL);
}

static void pause_ms(long ms) {
  struct timespec t;
  t.tv_sec = ms / 1000;
  t.tv_nsec = (ms % 1000) * 1000000L;
  nanosleep(&t, NULL);
}

static int pump_calls = 0;
static void pump(void* context) {
  (void)context;
  ++pump_calls;
}

static char box_text[64];
static int box_calls = 0;
static void message_box(void* context, const char* text) {
  (void)context;
  ++box_calls;
  snprintf(box_text, sizeof box_text, "%s", text);
}

static void test_create_by_name(void) {
  void* object = NULL;
  int32_t aci = -1;
  vessik_error err = VESSIK_ERROR_INIT;
  const char* names[] = {"Vessik_Parser", "Vessik_Progress", "Vessik_Layer", "Vessik_Color",
                         "Vessik_CommonData"};
  size_t i;
  for (i = 0; i < sizeof names / sizeof names[0]; ++i) {
    object = NULL;
    CHECK(vessik_create(names[i], &object, NULL) == 0 && object != NULL);
    switch (i) {
      case 0:
        vessik_parser_release((Vessik_Parser*)object);
        break;
      case 1:
        vessik_progress_release((Vessik_Progress*)object);
        break;
      case 2:
        vessik_layer_release((Vessik_Layer*)object);
        break;
      case 3:
        CHECK(vessik_color_get_coloraci((Vessik_Color*)object, &aci, NULL) == 0 && aci == 0);
        vessik_color_release((Vessik_Color*)object);
        break;
      default:
        vessik_commondata_release((Vessik_CommonData*)object);
        break;
    }
  }
  object = NULL;
  CHECK(vessik_create("Vessik_Insert", &object, &err) != 0 && object == NULL);
  CHECK(err.number == 5 && strcmp(err.description, "Invalid procedure call or argument") == 0);
  vessik_error_clear(&err);
}

static void test_common_data(void) {
  Vessik_CommonData* d = NULL;
  double v = -1;
  int32_t i = -1;
  CHECK(vessik_commondata_create(&d, NULL) == 0 && d != NULL);
  CHECK(vessik_commondata_get_tolerance(d, &v, NULL) == 0 && v == 0);
  CHECK(vessik_commondata_get_check(d, &i, NULL) == 0 && i == 0);
  CHECK(vessik_commondata_get_arcmaximumdeviationfactor(d, &v, NULL) == 0 && v == 0);
  CHECK(vessik_commondata_get_arcminimumsegmentlengthfactor(d, &v, NULL) == 0 && v == 0);
  CHECK(vessik_commondata_get_arcmaximumsegmentlengthfactor(d, &v, NULL) == 0 && v == 0);
  CHECK(vessik_commondata_get_initialsegments(d, &v, NULL) == 0 && v == 0);
  vessik_commondata_set_tolerance(d, 0.25, NULL);
  vessik_commondata_set_check(d, -7, NULL);
  vessik_commondata_set_arcmaximumdeviationfactor(d, 1.5, NULL);
  vessik_commondata_set_arcminimumsegmentlengthfactor(d, 2.5, NULL);
  vessik_commondata_set_arcmaximumsegmentlengthfactor(d, 3.5, NULL);
  vessik_commondata_set_initialsegments(d, 4.5, NULL);
  CHECK(vessik_commondata_get_tolerance(d, &v, NULL) == 0 && v == 0.25);
  CHECK(vessik_commondata_get_check(d, &i, NULL) == 0 && i == -7);
  CHECK(vessik_commondata_get_arcmaximumdeviationfactor(d, &v, NULL) == 0 && v == 1.5);
  CHECK(vessik_commondata_get_arcminimumsegmentlengthfactor(d, &v, NULL) == 0 && v == 2.5);
  CHECK(vessik_commondata_get_arcmaximumsegmentlengthfactor(d, &v, NULL) == 0 && v == 3.5);
  CHECK(vessik_commondata_get_initialsegments(d, &v, NULL) == 0 && v == 4.5);
  /* A second reference keeps the object after the first is dropped. */
  vessik_commondata_addref(d);
  vessik_commondata_release(d);
  CHECK(vessik_commondata_get_initialsegments(d, &v, NULL) == 0 && v == 4.5);
  vessik_commondata_release(d);
}

static void test_color_and_layer(void) {
  Vessik_Color* c = NULL;
  Vessik_Color* c2 = NULL;
  Vessik_Layer* l = NULL;
  int32_t i = -1;
  char* name = NULL;
  size_t len = 99;
  CHECK(vessik_color_create(&c, NULL) == 0);
  CHECK(vessik_color_get_coloraci(c, &i, NULL) == 0 && i == 0);
  CHECK(vessik_color_get_colorrgb(c, &i, NULL) == 0 && i == 0);
  CHECK(vessik_color_set_coloraci(c, 1, NULL) == 0);
  CHECK(vessik_color_get_colorrgb(c, &i, NULL) == 0 && i == 255);
  CHECK(vessik_color_set_colorrgb(c, 12345, NULL) == 0);
  CHECK(vessik_color_get_colorrgb(c, &i, NULL) == 0 && i == 12345);
  CHECK(vessik_color_get_coloraci(c, &i, NULL) == 0 && i == 1);

  CHECK(vessik_layer_create(&l, NULL) == 0);
  CHECK(vessik_layer_get_name(l, &name, &len, NULL) == 0 && len == 0 && name[0] == '\0');
  vessik_string_free(name);
  CHECK(vessik_layer_get_color(l, &c2, NULL) == 0 && c2 != NULL);
  CHECK(vessik_color_get_coloraci(c2, &i, NULL) == 0 && i == 7);
  CHECK(vessik_color_get_colorrgb(c2, &i, NULL) == 0 && i == 16777215);
  vessik_color_release(c2);
  CHECK(vessik_layer_set_name(l, "D\xc4MMUNG", 7, NULL) == 0);
  CHECK(vessik_layer_get_name(l, &name, &len, NULL) == 0 && len == 7 &&
        memcmp(name, "D\xc4MMUNG", 8) == 0);
  vessik_string_free(name);
  /* The colour is set by reference: a change through either handle shows in both. */
  CHECK(vessik_layer_set_color(l, c, NULL) == 0);
  CHECK(vessik_layer_get_color(l, &c2, NULL) == 0);
  CHECK(vessik_color_set_coloraci(c2, 3, NULL) == 0);
  CHECK(vessik_color_get_colorrgb(c, &i, NULL) == 0 && i == 65280);
  vessik_color_release(c2);
  vessik_color_release(c);
  /* The layer still holds the colour after the host dropped its own handles. */
  CHECK(vessik_layer_get_color(l, &c2, NULL) == 0);
  CHECK(vessik_color_get_coloraci(c2, &i, NULL) == 0 && i == 3);
  vessik_color_release(c2);
  CHECK(vessik_layer_set_color(l, NULL, NULL) == 0);
  c2 = (Vessik_Color*)&i;
  CHECK(vessik_layer_get_color(l, &c2, NULL) == 0 && c2 == NULL);
  vessik_layer_release(l);
}

static void test_progress(void) {
  Vessik_Progress* p = NULL;
  recorder r;
  int32_t cookie = 0;
  int canceled = -1;
  memset(&r, 0, sizeof r);
  CHECK(vessik_progress_create(&p, NULL) == 0);
  CHECK(vessik_progress_get_iscanceled(p, &canceled, NULL) == 0 && canceled == 0);
  CHECK(vessik_progress_set_iscanceled(p, 1, NULL) == 0);
  CHECK(vessik_progress_get_iscanceled(p, &canceled, NULL) == 0 && canceled == 1);
  CHECK(vessik_progress_doprogress(p, 5, NULL) == 0); /* no handler: nothing */
  CHECK(vessik_progress_connect(p, record, &r, &cookie, NULL) == 0);
  CHECK(vessik_progress_doprogress(p, 42, NULL) == 0);
  CHECK(vessik_progress_doprogress(p, -3, NULL) == 0);
  CHECK(r.count == 2 && r.values[0] == 42 && r.values[1] == -3);
  CHECK(vessik_progress_disconnect(p, cookie, NULL) == 0);
  CHECK(vessik_progress_doprogress(p, 7, NULL) == 0);
  CHECK(r.count == 2);
  vessik_progress_release(p);
}

static void test_failures(void) {
  vessik_error err = VESSIK_ERROR_INIT;
  Vessik_Parser* parser = NULL;
  Vessik_CommonData* d = NULL;
  Vessik_Progress* p = NULL;
  char* text = (char*)"unchanged";
  char* path;
  int32_t i;

  /* Calls on a null reference. */
  CHECK(vessik_color_get_coloraci(NULL, &i, &err) != 0);
  CHECK(err.number == 91 && strcmp(err.source, "") == 0 &&
        strcmp(err.description, "Object variable or With block variable not set") == 0);
  CHECK(vessik_parser_parse2(NULL, "x", NULL, NULL, &text, NULL, NULL) != 0);

  vessik_parser_create(&parser, NULL);
  vessik_commondata_create(&d, NULL);
  vessik_progress_create(&p, NULL);
  path = path_in_work("no-such-drawing.dxf");
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) != 0);
  CHECK(err.number == 53 && strcmp(err.description, "File not found") == 0);
  CHECK(strcmp(text, "unchanged") == 0);
  free(path);

  path = write_file("nosection.dxf", "0\nSECT\n2\nENTITIES\n0\nENDSEC\n");
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) != 0);
  CHECK(err.number == VESSIK_E_SECTION_NOT_FOUND && err.number == (int32_t)0x80040001u);
  CHECK(strcmp(err.description, "SECTION tag not found. DXF file is invalid.") == 0);
  free(path);

  /* A group code too big for 32 bits: the message box, then 0x80040003. */
  vessik_set_message_box_hook(message_box, NULL);
  path = write_file("badcode.dxf", "0\nSECTION\n2\nENTITIES\n99999999999\nX\n0\nENDSEC\n0\nEOF\n");
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) != 0);
  CHECK(err.number == VESSIK_E_PARSING_FAILED);
  CHECK(strncmp(err.description, "Error during parsing of DXF file at line #", 42) == 0);
  CHECK(box_calls == 1 && strcmp(box_text, "Fail:0") == 0);
  vessik_set_message_box_hook(NULL, NULL);
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) != 0);
  CHECK(box_calls == 1);
  free(path);

  /* A null settings object fails the parse when it is needed. */
  path = drawing("line.dxf", "0\nLINE\n8\n0\n10\n0\n20\n0\n11\n1\n21\n1\n");
  CHECK(vessik_parser_parse2(parser, path, d, NULL, &text, NULL, &err) != 0);
  CHECK(err.number == 91);
  free(path);

  /* A budget below what the drawing needs: out of memory, and no text. */
  CHECK(vessik_memory_budget() > (1u << 20));
  vessik_set_memory_budget(100);
  CHECK(vessik_memory_budget() == 100);
  path = drawing("budget.dxf", "0\nLINE\n8\n0\n10\n0\n20\n0\n11\n1\n21\n1\n");
  text = (char*)"unchanged";
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) != 0);
  CHECK(err.number == VESSIK_E_OUT_OF_MEMORY && strcmp(err.description, "Out of memory") == 0);
  CHECK(strcmp(text, "unchanged") == 0);
  vessik_set_memory_budget(0);
  CHECK(vessik_memory_budget() > (1u << 20));
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) == 0);
  vessik_string_free(text);
  free(path);

  /* The true-geometry mode: handles read unsigned, and back to the default. */
  CHECK(vessik_true_geometry() == 0);
  path = drawing("handle.dxf", "0\nLINE\n5\n8000\n8\n0\n10\n0\n20\n0\n11\n1\n21\n1\n");
  vessik_set_true_geometry(1);
  CHECK(vessik_true_geometry() == 1);
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) == 0);
  CHECK(strncmp(text, "32768\t83\t", 9) == 0);
  vessik_string_free(text);
  vessik_set_true_geometry(0);
  CHECK(vessik_true_geometry() == 0);
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, NULL, &err) == 0);
  CHECK(strncmp(text, "-32768\t83\t", 10) == 0);
  vessik_string_free(text);
  free(path);

  vessik_error_clear(&err);
  CHECK(err.number == 0 && err.source == NULL && err.description == NULL);
  vessik_progress_release(p);
  vessik_commondata_release(d);
  vessik_parser_release(parser);
}

static void test_parse(void) {
  Vessik_Parser* parser = NULL;
  Vessik_CommonData* d = NULL;
  Vessik_Progress* p = NULL;
  Vessik_Layer** layers = NULL;
  Vessik_Color* c = NULL;
  size_t count = 99, len = 99;
  char* text = NULL;
  char* name = NULL;
  int32_t i = 0, cookie = 0;
  recorder r;
  char* path;
  memset(&r, 0, sizeof r);

  vessik_parser_create(&parser, NULL);
  vessik_commondata_create(&d, NULL);
  vessik_progress_create(&p, NULL);
  CHECK(vessik_parser_get_layers(parser, &layers, &count, NULL) == 0 && count == 0 &&
        layers == NULL);

  /* The pump runs the hook when 100 ms have passed since it last ran: the
   * parses before lie further back after this pause. */
  pause_ms(150);
  vessik_set_pump_hook(pump, NULL);
  vessik_progress_connect(p, record, &r, &cookie, NULL);
  path = drawing("empty.dxf", "");
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, &len, NULL) == 0);
  CHECK(text != NULL && len == 0 && text[0] == '\0');
  vessik_string_free(text);
  /* The section's own head and its ENDSEC count as steps of the walk. */
  CHECK(r.count == 4 && r.values[0] == 62 && r.values[1] == 75 && r.values[2] == 50 &&
        r.values[3] == 50);
  CHECK(pump_calls >= 1);
  vessik_set_pump_hook(NULL, NULL);
  free(path);

  CHECK(vessik_parser_get_layers(parser, &layers, &count, NULL) == 0 && count == 2);
  if (count == 2) {
    CHECK(vessik_layer_get_name(layers[1], &name, &len, NULL) == 0 && strcmp(name, "WALLS") == 0);
    vessik_string_free(name);
    CHECK(vessik_layer_get_color(layers[1], &c, NULL) == 0);
    CHECK(vessik_color_get_coloraci(c, &i, NULL) == 0 && i == 3);
    CHECK(vessik_color_get_colorrgb(c, &i, NULL) == 0 && i == 65280);
    /* The layers handed out are the parser's own objects. */
    vessik_color_set_coloraci(c, 1, NULL);
    vessik_color_release(c);
    vessik_layers_free(layers, count);
    layers = NULL;
    CHECK(vessik_parser_get_layers(parser, &layers, &count, NULL) == 0 && count == 2);
    CHECK(vessik_layer_get_color(layers[1], &c, NULL) == 0);
    CHECK(vessik_color_get_coloraci(c, &i, NULL) == 0 && i == 1);
    vessik_color_release(c);
    /* A layer handle outlives the parser. */
    vessik_layer_addref(layers[0]);
    {
      Vessik_Layer* keep = layers[0];
      vessik_layers_free(layers, count);
      vessik_parser_release(parser);
      parser = NULL;
      CHECK(vessik_layer_get_name(keep, &name, &len, NULL) == 0 && strcmp(name, "0") == 0);
      vessik_string_free(name);
      vessik_layer_release(keep);
    }
  }
  if (parser == NULL) vessik_parser_create(&parser, NULL);

  /* Cancelled before the call: the empty text, no failure. */
  path = drawing("lines.dxf",
                 "0\nLINE\n8\nWALLS\n10\n0\n20\n0\n11\n1\n21\n1\n"
                 "0\nLINE\n8\nWALLS\n10\n1\n20\n1\n11\n2\n21\n0\n");
  vessik_progress_set_iscanceled(p, 1, NULL);
  r.count = 0;
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, &len, NULL) == 0 && len == 0);
  vessik_string_free(text);
  /* Cancelled from the handler. */
  vessik_progress_set_iscanceled(p, 0, NULL);
  r.count = 0;
  r.cancel_on = p;
  CHECK(vessik_parser_parse2(parser, path, d, p, &text, &len, NULL) == 0 && len == 0);
  vessik_string_free(text);
  CHECK(r.count >= 3 && r.values[r.count - 1] == 50 && r.values[r.count - 2] == 50);
  free(path);

  vessik_progress_release(p);
  vessik_commondata_release(d);
  vessik_parser_release(parser);
}

/* Reads "key value" from the helper's meta text. */
static const char* meta_value(const char* meta, const char* key, char* buf, size_t size) {
  const char* line = meta;
  size_t klen = strlen(key);
  while (line != NULL && *line != '\0') {
    const char* end = strchr(line, '\n');
    size_t n = end != NULL ? (size_t)(end - line) : strlen(line);
    if (n > klen && strncmp(line, key, klen) == 0 && line[klen] == ' ') {
      size_t m = n - klen - 1 < size - 1 ? n - klen - 1 : size - 1;
      memcpy(buf, line + klen + 1, m);
      buf[m] = '\0';
      return end != NULL ? end + 1 : line + n;
    }
    if (n == klen && strncmp(line, key, klen) == 0) {
      buf[0] = '\0';
      return end != NULL ? end + 1 : line + n;
    }
    line = end != NULL ? end + 1 : NULL;
  }
  buf[0] = '\0';
  return NULL;
}

static void compare_drawing(const char* helper, const char* drawing_path, int index) {
  char command[4096];
  char prefix[1024];
  char file[1100];
  char value[1024];
  char* expected;
  char* meta;
  size_t expected_len = 0, meta_len = 0, len = 0, count = 0, k;
  vessik_error err = VESSIK_ERROR_INIT;
  Vessik_Parser* parser = NULL;
  Vessik_CommonData* d = NULL;
  Vessik_Progress* p = NULL;
  Vessik_Layer** layers = NULL;
  char* text = NULL;
  const char* rest;
  int ok;

  snprintf(prefix, sizeof prefix, "%s/expect%d", work_dir, index);
  snprintf(command, sizeof command, "'%s' '%s' '%s' %.17g %d %.17g %.17g %.17g %.17g", helper,
           drawing_path, prefix, SET_TOLERANCE, SET_CHECK, SET_DEVIATION, SET_MINLENGTH,
           SET_MAXLENGTH, SET_INITIAL);
  CHECK(system(command) == 0);
  snprintf(file, sizeof file, "%s.txt", prefix);
  expected = read_file(file, &expected_len);
  snprintf(file, sizeof file, "%s.meta", prefix);
  meta = read_file(file, &meta_len);
  CHECK(expected != NULL && meta != NULL);
  if (expected == NULL || meta == NULL) return;

  vessik_parser_create(&parser, NULL);
  vessik_commondata_create(&d, NULL);
  vessik_progress_create(&p, NULL);
  vessik_commondata_set_tolerance(d, SET_TOLERANCE, NULL);
  vessik_commondata_set_check(d, SET_CHECK, NULL);
  vessik_commondata_set_arcmaximumdeviationfactor(d, SET_DEVIATION, NULL);
  vessik_commondata_set_arcminimumsegmentlengthfactor(d, SET_MINLENGTH, NULL);
  vessik_commondata_set_arcmaximumsegmentlengthfactor(d, SET_MAXLENGTH, NULL);
  vessik_commondata_set_initialsegments(d, SET_INITIAL, NULL);
  ok = vessik_parser_parse2(parser, drawing_path, d, p, &text, &len, &err) == 0;

  rest = meta_value(meta, "status", value, sizeof value);
  if (strcmp(value, "OK") == 0) {
    CHECK(ok);
    if (ok) {
      CHECK(len == expected_len && memcmp(text, expected, len) == 0);
      if (!(len == expected_len && memcmp(text, expected, len) == 0)) {
        fprintf(stderr, "  text differs for %s\n", drawing_path);
      }
      vessik_string_free(text);
    }
  } else {
    CHECK(!ok);
    meta_value(meta, "number", value, sizeof value);
    CHECK(err.number == (int32_t)strtol(value, NULL, 10));
    meta_value(meta, "source", value, sizeof value);
    CHECK(err.source != NULL && strcmp(err.source, value) == 0);
    meta_value(meta, "description", value, sizeof value);
    CHECK(err.description != NULL && strcmp(err.description, value) == 0);
  }
  (void)rest;
  rest = meta_value(meta, "layers", value, sizeof value);
  CHECK(vessik_parser_get_layers(parser, &layers, &count, NULL) == 0);
  CHECK(count == (size_t)strtoul(value, NULL, 10));
  for (k = 0; k < count && rest != NULL; ++k) {
    char* name = NULL;
    size_t name_len = 0;
    Vessik_Color* c = NULL;
    int32_t aci = 0, rgb = 0;
    char line[1200];
    const char* end = strchr(rest, '\n');
    size_t n = end != NULL ? (size_t)(end - rest) : strlen(rest);
    vessik_layer_get_name(layers[k], &name, &name_len, NULL);
    vessik_layer_get_color(layers[k], &c, NULL);
    vessik_color_get_coloraci(c, &aci, NULL);
    vessik_color_get_colorrgb(c, &rgb, NULL);
    snprintf(line, sizeof line, "%s\t%d\t%d", name, (int)aci, (int)rgb);
    CHECK(strlen(line) == n && strncmp(line, rest, n) == 0);
    vessik_string_free(name);
    vessik_color_release(c);
    rest = end != NULL ? end + 1 : NULL;
  }
  vessik_layers_free(layers, count);
  vessik_error_clear(&err);
  vessik_progress_release(p);
  vessik_commondata_release(d);
  vessik_parser_release(parser);
  free(expected);
  free(meta);
}

/* Lower-case hexadecimal SHA-256 of the bytes into hex (65 characters). */
static void sha256_hex(const char* data, size_t len, char* hex) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int n = 0, i;
  EVP_Digest(data, len, digest, &n, EVP_sha256(), NULL);
  for (i = 0; i < n; ++i) sprintf(hex + 2 * i, "%02x", digest[i]);
  hex[2 * n] = '\0';
}

static size_t count_lines(const char* data, size_t len) {
  size_t n = 0, i;
  for (i = 0; i < len; ++i) n += data[i] == '\n';
  return n;
}

/* Appends to *buf (of *cap bytes, *len used) and grows it as needed. */
static void append(char** buf, size_t* len, size_t* cap, const char* s, size_t n) {
  if (*len + n + 1 > *cap) {
    size_t grown = (*len + n + 1) * 2;
    char* p = (char*)realloc(*buf, grown);
    if (p == NULL) return;
    *buf = p;
    *cap = grown;
  }
  memcpy(*buf + *len, s, n);
  *len += n;
  (*buf)[*len] = '\0';
}

/* The outcome of a parse as the pins write it: "text COUNT SHA" or "error NUMBER -";
 * the layers of the same parse into layers_outcome ("error - -" on a failure). */
static void parse_outcome(const char* path, const double settings[6], char* outcome,
                          char* layers_outcome) {
  vessik_error err = VESSIK_ERROR_INIT;
  Vessik_Parser* parser = NULL;
  Vessik_CommonData* d = NULL;
  Vessik_Progress* p = NULL;
  Vessik_Layer** layers = NULL;
  char* text = NULL;
  size_t len = 0, count = 0, k;
  char hex[2 * EVP_MAX_MD_SIZE + 1];
  vessik_parser_create(&parser, NULL);
  vessik_commondata_create(&d, NULL);
  vessik_progress_create(&p, NULL);
  vessik_commondata_set_tolerance(d, settings[0], NULL);
  vessik_commondata_set_check(d, (int32_t)settings[1], NULL);
  vessik_commondata_set_arcmaximumdeviationfactor(d, settings[2], NULL);
  vessik_commondata_set_arcminimumsegmentlengthfactor(d, settings[3], NULL);
  vessik_commondata_set_arcmaximumsegmentlengthfactor(d, settings[4], NULL);
  vessik_commondata_set_initialsegments(d, settings[5], NULL);
  if (vessik_parser_parse2(parser, path, d, p, &text, &len, &err) != 0) {
    sprintf(outcome, "error\t%d\t-", (int)err.number);
    strcpy(layers_outcome, "error\t-\t-");
  } else {
    char* all = NULL;
    size_t all_len = 0, cap = 0;
    sha256_hex(text, len, hex);
    sprintf(outcome, "text\t%lu\t%s", (unsigned long)count_lines(text, len), hex);
    vessik_string_free(text);
    append(&all, &all_len, &cap, "", 0);
    CHECK(vessik_parser_get_layers(parser, &layers, &count, NULL) == 0);
    for (k = 0; k < count; ++k) {
      char* name = NULL;
      size_t name_len = 0;
      Vessik_Color* c = NULL;
      int32_t aci = 0, rgb = 0;
      char numbers[64];
      vessik_layer_get_name(layers[k], &name, &name_len, NULL);
      vessik_layer_get_color(layers[k], &c, NULL);
      vessik_color_get_coloraci(c, &aci, NULL);
      vessik_color_get_colorrgb(c, &rgb, NULL);
      append(&all, &all_len, &cap, name, name_len);
      snprintf(numbers, sizeof numbers, "\t%d\t%d\n", (int)aci, (int)rgb);
      append(&all, &all_len, &cap, numbers, strlen(numbers));
      vessik_string_free(name);
      vessik_color_release(c);
    }
    vessik_layers_free(layers, count);
    sha256_hex(all, all_len, hex);
    sprintf(layers_outcome, "text\t%lu\t%s", (unsigned long)count_lines(all, all_len), hex);
    free(all);
  }
  vessik_error_clear(&err);
  vessik_progress_release(p);
  vessik_commondata_release(d);
  vessik_parser_release(parser);
}

/* The pinned "outcome TAB count TAB sha256" of a drawing and setting into pin;
 * 0 when EXPECTED.tsv has no such row. */
static int pinned(const char* expected, const char* file, const char* setting, char* pin,
                  size_t size) {
  char key[1200];
  const char* at;
  size_t klen;
  pin[0] = '\0';
  snprintf(key, sizeof key, "%s\t%s\t", file, setting);
  klen = strlen(key);
  for (at = expected; at != NULL && *at != '\0';) {
    const char* end = strchr(at, '\n');
    size_t n = end != NULL ? (size_t)(end - at) : strlen(at);
    if (n > klen && strncmp(at, key, klen) == 0) {
      size_t m = n - klen < size - 1 ? n - klen : size - 1;
      memcpy(pin, at + klen, m);
      pin[m] = '\0';
      return 1;
    }
    at = end != NULL ? end + 1 : NULL;
  }
  return 0;
}

static void compare_with_pins(const char* corpus, const char* expected, const char* file) {
  static const double defaults[6] = {0.01, 0, 0.01, 0.1, 10, 4};
  static const double fine[6] = {0.001, 1, 0.001, 0, 0, 2};
  char path[2200], outcome[200], layers[200], pin[200];
  snprintf(path, sizeof path, "%s/%s", corpus, file);
  parse_outcome(path, defaults, outcome, layers);
  CHECK(pinned(expected, file, "defaults", pin, sizeof pin) && strcmp(outcome, pin) == 0);
  if (strcmp(outcome, pin) != 0)
    fprintf(stderr, "  %s at defaults: %s, pinned %s\n", file, outcome, pin);
  CHECK(pinned(expected, file, "layers", pin, sizeof pin) && strcmp(layers, pin) == 0);
  if (strcmp(layers, pin) != 0) fprintf(stderr, "  %s layers: %s, pinned %s\n", file, layers, pin);
  parse_outcome(path, fine, outcome, layers);
  CHECK(pinned(expected, file, "fine", pin, sizeof pin) && strcmp(outcome, pin) == 0);
  if (strcmp(outcome, pin) != 0)
    fprintf(stderr, "  %s at fine: %s, pinned %s\n", file, outcome, pin);
}

static void test_corpus(const char* helper, const char* corpus, const char* list) {
  FILE* f = fopen(list, "r");
  char line[1024];
  char expected_path[2200];
  char* expected;
  size_t expected_len = 0;
  int index = 0;
  snprintf(expected_path, sizeof expected_path, "%s/EXPECTED.tsv", corpus);
  expected = read_file(expected_path, &expected_len);
  if (f == NULL) {
    fprintf(stderr, "cannot read %s\n", list);
    ++failed;
    return;
  }
  while (fgets(line, sizeof line, f) != NULL) {
    char path[2200];
    FILE* probe;
    line[strcspn(line, "\r\n")] = '\0';
    if (line[0] == '\0' || line[0] == '#') continue;
    snprintf(path, sizeof path, "%s/%s", corpus, line);
    probe = fopen(path, "rb");
    if (probe == NULL) {
      ++skipped;
      continue;
    }
    fclose(probe);
    compare_drawing(helper, path, index++);
    CHECK(expected != NULL);
    if (expected != NULL) compare_with_pins(corpus, expected, line);
  }
  fclose(f);
  free(expected);
  if (skipped > 0) printf("corpus drawings not found under %s: %d skipped\n", corpus, skipped);
}

static int skips_are_failures(void) {
  const char* v = getenv("VESSIK_NO_SKIP");
  return v != NULL && v[0] != '\0' && strcmp(v, "0") != 0;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: test_host_c EXPECT_HELPER CORPUS_DIR DRAWING_LIST WORK_DIR\n");
    return 2;
  }
  work_dir = argv[4];
  test_create_by_name();
  test_common_data();
  test_color_and_layer();
  test_progress();
  test_failures();
  test_parse();
  test_corpus(argv[1], argv[2], argv[3]);
  if (skipped > 0 && skips_are_failures()) {
    printf("VESSIK_NO_SKIP is set: the %d skipped drawings count as failed\n", skipped);
    failed += skipped;
    skipped = 0;
  }
  if (skipped > 0) {
    printf("%d passed, %d failed, %d skipped\n", passed, failed, skipped);
  } else {
    printf("%d passed, %d failed\n", passed, failed);
  }
  return failed == 0 ? 0 : 1;
}
