// The host's LAG bookkeeping: one list of LagNode for the process, owned by
// the host and shared with libvornlcapi by name.  The library never walks
// the list itself; it hands it to these operations, keeping it in step with
// the SDK's LAG table and the SDK's LAG mapping (see vorn_sdk.hh).
//
// Every operation returns true on success:
// - add_lag_to_list: adds a node for the id (false if it is there already);
// - delete_lag_from_list: removes the id's node (false if absent);
// - is_lag_exist: whether a node with the id exists.  It takes the list BY
//   VALUE, as its published signature does: each call copies the list;
// - add_lag_member: makes `members` the id's member list (the library passes
//   the complete new member set);
// - delete_lag_member: removes each of `members` from the id's node;
// - get_lag_member: APPENDS the id's current members to `members`.
#ifndef VORN_LAG_LIST_HH
#define VORN_LAG_LIST_HH

#include <list>

#include "vorn_export.h"
#include "vorn_types.hh"

extern VORN_API std::list<LagNode> lag_list;

VORN_API bool add_lag_to_list(unsigned int lag_id, std::list<LagNode>& list);
VORN_API bool delete_lag_from_list(unsigned int lag_id, std::list<LagNode>& list);
VORN_API bool is_lag_exist(unsigned int lag_id, std::list<LagNode> list);
VORN_API bool add_lag_member(unsigned int lag_id, std::list<LagNode>& list,
                             std::list<Mp>& members);
VORN_API bool delete_lag_member(unsigned int lag_id, std::list<LagNode>& list,
                                std::list<Mp>& members);
VORN_API bool get_lag_member(unsigned int lag_id, std::list<Mp>& members);

#endif
