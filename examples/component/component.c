/* A printer component in C11. Its tag is an array: each member does where `tag` is touched what a
   real one does with its printer. Data is hexadecimal text; a refusal is a returned 0. */
#include <stdlib.h>
#include <string.h>
#include <tagwright/component_api.h>

enum { kBanks = 4, kUserBank = 3, kBankCharacters = 128, kDigitsPerWord = 4, kPasswordDigits = 8 };

/* One job's object; the tag outlives it. */
struct TagwrightComponentObject {
  int is_connected;
};
static TagwrightChar tag[kBanks][kBankCharacters];

static void finish(TagwrightCallResult *result, int succeeded) {
  result->outcome = kTagwrightReturned;
  result->returned = succeeded ? 1 : 0;
}

static int is_hex(TagwrightText text) {
  for (size_t i = 0; i < text.length; ++i) {
    const TagwrightChar c = text.characters[i];
    if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'))) return 0;
  }
  return 1;
}

static int is_password(TagwrightText text) {
  return text.length == kPasswordDigits && is_hex(text);
}

static int write_bank(const TagwrightComponentObject *object, int bank, int64_t word,
                      TagwrightText data) {
  const int64_t start = word * kDigitsPerWord;
  if (!object->is_connected || bank < 0 || bank >= kBanks || start < 0 || !is_hex(data) ||
      data.length % kDigitsPerWord != 0 || data.length > kBankCharacters ||
      start > (int64_t)(kBankCharacters - data.length)) {
    return 0;
  }
  if (data.length > 0)
    memcpy(tag[bank] + start, data.characters, data.length * sizeof *data.characters);
  return 1;
}

static TagwrightComponentObject *create(TagwrightCallResult *result) {
  TagwrightComponentObject *object = calloc(1, sizeof *object);
  finish(result, object != NULL);
  if (object == NULL) result->outcome = kTagwrightUnknownException;
  return object;
}
static void dispose(TagwrightComponentObject *object, TagwrightCallResult *result) {
  free(object);
  finish(result, 1);
}
static void test(TagwrightCallResult *result) { finish(result, 1); }
static void init_logging(TagwrightComponentObject *object, TagwrightCallResult *result) {
  (void)object;
  finish(result, 1);
}
static void log_error(TagwrightComponentObject *object, TagwrightText text,
                      TagwrightCallResult *result) {
  (void)object, (void)text;
  finish(result, 1);
}
static void connect(TagwrightComponentObject *object, int32_t port_type, TagwrightText address,
                    uint32_t connect_per_card, TagwrightCallResult *result) {
  (void)port_type, (void)connect_per_card;
  object->is_connected = address.length > 0;
  finish(result, object->is_connected);
}
static void disconnect(TagwrightComponentObject *object, TagwrightCallResult *result) {
  object->is_connected = 0;
  finish(result, 1);
}
static void write_epc(TagwrightComponentObject *object, TagwrightText data,
                      TagwrightCallResult *result) {
  finish(result, write_bank(object, 1, 2, data)); /* Behind the CRC and the PC word. */
}
static void write_memory(TagwrightComponentObject *object, int32_t bank, int32_t offset,
                         TagwrightText data, TagwrightCallResult *result) {
  finish(result, write_bank(object, bank, offset, data));
}
static void write_user(TagwrightComponentObject *object, int32_t offset, TagwrightText data,
                       TagwrightCallResult *result) {
  finish(result, write_bank(object, kUserBank, offset, data));
}
static void set_password(TagwrightComponentObject *object, TagwrightText password,
                         TagwrightCallResult *result) {
  finish(result, object->is_connected && is_password(password));
}
static void lock(TagwrightComponentObject *object, TagwrightText password, int32_t action,
                 TagwrightCallResult *result) {
  finish(result, object->is_connected && is_password(password) && action != 0);
}
static void permalock(TagwrightComponentObject *object, TagwrightText password, uint32_t start,
                      int32_t count, TagwrightCallResult *result) {
  (void)start;
  finish(result, object->is_connected && is_password(password) && count > 0);
}

const TagwrightComponentInterface *TagwrightManagedGetInterface(uint32_t version) {
  static const TagwrightComponentInterface members = {sizeof members, kTagwrightComponentVersion,
                                                      create,         dispose,
                                                      test,           init_logging,
                                                      log_error,      connect,
                                                      disconnect,     write_epc,
                                                      write_memory,   write_user,
                                                      set_password,   lock,
                                                      permalock,      lock,
                                                      set_password,   set_password};
  return version == kTagwrightComponentVersion ? &members : NULL;
}
