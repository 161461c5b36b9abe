#pragma once
// Brings the plug-in's task store in line with the complete task list the
// console sends: a task the plug-in has and the list names is updated, one
// the list does not name is deleted, one the plug-in lacks is added.
//
// A running task that is to go is, with postponeDeletion, only taken off the
// schedule (its schedule set to "never"): the console repeats the deletion on
// a later synchronisation, once the run has ended. Per-task failures are
// reported in the three maps only, never as the call's result.
#include <cstdint>

#include <json/value.h>

#include "frame/list.h"
#include "sdk/mailservers/ondemand.h"

namespace MailServers {

// Fills `output` with "updated", "deleted" and "added": objects whose members,
// named by the lower-case GUID text, hold each task's code ("added" is keyed
// by the id the plug-in assigned). Answers 0, or GetTaskIdList's code when the
// current list cannot be read, in which case nothing was changed and `output`
// is untouched.
uint32_t SetAllTasks(kel::nusdk::MailServers::IOnDemand& plugin,
                     const kel::List<kel::nusdk::MailServers::IOnDemand::Task>& tasks,
                     bool postponeDeletion, Json::Value& output);

// Deletes one task. With `checkRunning`, a running task is not deleted but
// unscheduled, and that counts as done (0).
uint32_t DeleteTaskChecked(kel::nusdk::MailServers::IOnDemand& plugin, const kel::Guid& id,
                           bool checkRunning);

}  // namespace MailServers
