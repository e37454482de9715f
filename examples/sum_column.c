/* Prints the variables of a system file and the sum of one of them, through the C interface and an Arrow stream.
 *
 *   sum_column penguins.quav BodyMass
 *
 * Any program that imports Arrow streams takes the stream as it is; here it is read by hand.
 */

#include <stdio.h>
#include <string.h>

#include "datasrc/c_api.h"

static int fail(const char* what) {
  fprintf(stderr, "sum_column: %s\n", what);
  return 1;
}

/* Prints the columns of the stream with their Arrow types. Returns the column of that name, -1 if there is none. */
static int64_t print_columns(struct ArrowArrayStream* stream, const char* name) {
  struct ArrowSchema schema;
  int64_t found = -1;
  int64_t k;
  if (stream->get_schema(stream, &schema) != 0) return -1;
  for (k = 0; k < schema.n_children; ++k) {
    const struct ArrowSchema* field = schema.children[k];
    printf("%-20s %s\n", field->name, field->format);
    /* Only numbers can be summed: "g" is a column of doubles. */
    if (strcmp(field->name, name) == 0 && strcmp(field->format, "g") == 0) found = k;
  }
  schema.release(&schema);
  return found;
}

/* Bit `row` of the first buffer says whether the row has a value; without the buffer all have one. */
static int has_value(const struct ArrowArray* column, int64_t row) {
  const unsigned char* bits = column->buffers[0];
  row += column->offset;
  return bits == NULL || (bits[row / 8] >> (row % 8) & 1) != 0;
}

static void add_values(const struct ArrowArray* column, double* sum, long* count) {
  const double* numbers = column->buffers[1];
  int64_t row;
  for (row = 0; row < column->length; ++row) {
    if (!has_value(column, row)) continue;
    *sum += numbers[column->offset + row];
    ++*count;
  }
}

static int sum_column(struct ArrowArrayStream* stream, const char* name) {
  double sum = 0;
  long count = 0;
  const int64_t column = print_columns(stream, name);
  if (column < 0) return fail("there is no number of that name");
  for (;;) {
    struct ArrowArray batch;
    if (stream->get_next(stream, &batch) != 0) return fail(stream->get_last_error(stream));
    if (batch.release == NULL) break; /* the end of the stream */
    add_values(batch.children[column], &sum, &count);
    batch.release(&batch);
  }
  printf("sum of %ld values of %s: %.0f\n", count, name, sum);
  return 0;
}

int main(int argc, char** argv) {
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  datasrc_file* file;
  struct ArrowArrayStream stream;
  int result;
  if (argc != 3) {
    fprintf(stderr, "usage: sum_column FILE NAME\n");
    return 2;
  }
  options.flags = DATASRC_SCAN_USER_MISSING_AS_NULL;
  if (datasrc_open(argv[1], NULL, 0, &file) != 0) return fail(datasrc_error_text());
  result = datasrc_scan(file, &options, &stream);
  datasrc_close(file); /* the stream keeps what it needs */
  if (result != 0) return fail(datasrc_error_text());
  result = sum_column(&stream, argv[2]);
  stream.release(&stream);
  return result;
}
