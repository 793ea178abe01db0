/* Parses a drawing through the installed C interface. */
#include <stdio.h>

#include <vessik/vessik.h>

int main(int argc, char** argv) {
  Vessik_Parser* parser = NULL;
  Vessik_CommonData* data = NULL;
  Vessik_Progress* progress = NULL;
  vessik_error err = VESSIK_ERROR_INIT;
  char* text = NULL;
  size_t length = 0;
  int status = 0;
  if (argc != 2) return 2;
  vessik_parser_create(&parser, NULL);
  vessik_commondata_create(&data, NULL);
  vessik_progress_create(&progress, NULL);
  if (vessik_parser_parse2(parser, argv[1], data, progress, &text, &length, &err) == 0) {
    fwrite(text, 1, length, stdout);
    vessik_string_free(text);
  } else {
    printf("error %d %s\n", (int)err.number, err.description);
    status = 1;
  }
  vessik_error_clear(&err);
  vessik_progress_release(progress);
  vessik_commondata_release(data);
  vessik_parser_release(parser);
  return status;
}
