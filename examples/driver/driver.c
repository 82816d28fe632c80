/* A driver in C: starts tagwright, connects, encodes three cards, shuts it down and looks at its
   exit code. The library finds the program: TAGWRIGHT_PROGRAM, beside this program, or where it is
   installed. */
#include <stdio.h>
#include <string.h>
#include <tagwright/client.h>

enum { kCards = 3, kConnectMs = 5000, kRequestMs = 60000, kEndMs = 15000 };

static int fail(const char *what, tagwright_result result) {
  fprintf(stderr, "%s: %s (system error %ld)\n", what, tagwright_result_text(result),
          tagwright_system_error());
  return 1;
}

/* One card: an EPC of 96 bits whose last word is the card's number. */
static int encode(tagwright_client *client, unsigned card) {
  char job[512];
  uint32_t status = 0;
  snprintf(job, sizeof job,
           "<zsdk_job>"
           "<printer port_type=\"1\" port_address=\"USB001\"/>"
           "<write segment=\"1\" data=\"300833B2DDD901400000%04X\"/>"
           "</zsdk_job>",
           card);
  const tagwright_result result =
      tagwright_send(client, TAGWRIGHT_ENCODE, job, strlen(job), kRequestMs, &status);
  if (result != TAGWRIGHT_OK) return fail("encoding", result);
  printf("card %u: %s\n", card, tagwright_status_name(status));
  return status == TAGWRIGHT_SUCCESS ? 0 : 1;
}

static int shut_down(tagwright_process *process, tagwright_client *client) {
  uint32_t status = 0;
  int exit_code = 0;
  tagwright_result result =
      tagwright_send(client, TAGWRIGHT_SHUTDOWN, NULL, 0, kRequestMs, &status);
  if (result == TAGWRIGHT_OK) result = tagwright_wait(process, kEndMs, &exit_code);
  if (result != TAGWRIGHT_OK) return fail("shutting down", result);
  printf("tagwright ended with exit code %d\n", exit_code);
  return exit_code;
}

static int work(tagwright_process *process) {
  tagwright_client *client = NULL;
  const tagwright_result connected = tagwright_connect_to(process, kConnectMs, &client);
  if (connected != TAGWRIGHT_OK) return fail("connecting", connected);
  int failures = 0;
  for (unsigned card = 1; card <= kCards; ++card) failures += encode(client, card);
  failures += shut_down(process, client);
  tagwright_close(client);
  return failures == 0 ? 0 : 1;
}

int main(void) {
  char name[TAGWRIGHT_NAME_SIZE];
  tagwright_process *process = NULL;
  tagwright_result result = tagwright_fresh_name(name);
  if (result == TAGWRIGHT_OK) result = tagwright_start(NULL, name, TAGWRIGHT_SINGLE, &process);
  if (result != TAGWRIGHT_OK) return fail("starting tagwright", result);
  const int exit_code = work(process);
  tagwright_release(process);
  return exit_code;
}
