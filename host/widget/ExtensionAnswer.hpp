// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the extension answered, checked by shape before anything is made of it. Each function throws
// ExtensionError for an answer that is none to its question. Pure functions, safe from any thread.

#include <string>

#include "host/protocol/DiagnosisCoding.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/OutcomeCoding.hpp"
#include "host/widget/ExtensionProcess.hpp"

namespace host {

Declaration declarationIn(const Message& answer);
widget::SimpleEntry entryIn(const Message& answer);
/// Of one entry at least.
platform::Timeline<widget::SimpleEntry> timelineIn(const Message& answer);
/// How the fetch for a timeline went.
widget::FetchOutcome outcomeIn(const Message& answer);
/// What is stored of a sign-in.
widget::CredentialReport credentialsIn(const Message& answer);
/// Whether the person wants to be told what happens.
bool wantsNotificationsIn(const Message& answer);
widget::Diagnosis diagnosisIn(const Message& answer);
/// The bytes of a drawing, which begin and end as that format does.
std::string drawingIn(Message answer, widget::DrawingFormat format);

}  // namespace host
