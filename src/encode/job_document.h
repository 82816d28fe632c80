/// The parsed job and its safe disposal: jobs carry tag data and passwords.
#pragma once

#include <tinyxml.h>

#include <memory>

#include "platform/windows_api.h"

/// Overwrites the names, texts and attribute values of a node and of everything below it with
/// zeros. The tree may only be deleted afterwards.
void WipeNode(TiXmlNode& node);

/// Wipes the document, then deletes it.
struct JobDocumentDeleter {
  void operator()(TiXmlDocument* document) const;
};
using JobDocumentPtr = std::unique_ptr<TiXmlDocument, JobDocumentDeleter>;

/// Whether the parser counts at which row and column everything stands, which a job does not need.
enum class Places { kUncounted, kCounted };

/// Parses `sizeBytes` bytes of XML (no NUL needed), with the parser's own detection of the
/// encoding. The document holds what was parsed before an error, if there was one. Text beyond the
/// limits of markup_limits.h is not parsed at all: the document stays empty, with an error. The
/// copy that the parser worked on is wiped.
JobDocumentPtr ParseJobDocument(const unsigned char* buffer, DWORD sizeBytes,
                                Places places = Places::kUncounted);
