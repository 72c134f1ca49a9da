// The members of class dbfidx: one list gives the declarations, the table of methods and the slots.
//
// M: a member with its function, which receives the object first. L: a member whose function is
// still to come; until then the fall-back of dataserver answers.
#pragma once

#include "core/classes.h"
#include "core/modules.h"

namespace tarnel {

// Sorted by name; the places are the slots from 166 up.
#define DBFIDX_MEMBERS(M, L)                            \
  M("alias", kAccess, di_alias)                         \
  M("alias", kAssign, di_set_alias)                     \
  M("append", kMethod, di_append)                       \
  M("appenddb", kMethod, di_appenddb)                   \
  M("appenddelimited", kMethod, di_appenddelimited)     \
  M("appendsdf", kMethod, di_appendsdf)                 \
  M("asstring", kMethod, di_asstring)                   \
  M("average", kMethod, di_average)                     \
  M("axit", kMethod, di_axit)                           \
  M("bof", kAccess, di_bof)                             \
  M("clearfilter", kMethod, di_clearfilter)             \
  M("clearindex", kMethod, di_clearindex)               \
  M("clearlocate", kMethod, di_clearlocate)             \
  M("clearrelation", kMethod, di_clearrelation)         \
  M("clearscope", kMethod, di_clearscope)               \
  M("close", kMethod, di_close)                         \
  M("commit", kMethod, di_commit)                       \
  M("concurrenc", kAccess, di_concurrency)              \
  M("concurrenc", kAssign, di_set_concurrency)          \
  M("continue", kMethod, di_continue)                   \
  M("copydb", kMethod, di_copydb)                       \
  M("copydelimited", kMethod, di_copydelimited)         \
  M("copysdf", kMethod, di_copysdf)                     \
  M("copystructure", kMethod, di_copystructure)         \
  M("count", kMethod, di_count)                         \
  M("createdb", kMethod, di_createdb)                   \
  M("createindex", kMethod, di_createindex)             \
  M("createorder", kMethod, di_createorder)             \
  M("dbstruct", kMethod, di_dbstruct)                   \
  M("delete", kMethod, di_delete)                       \
  M("deleteall", kMethod, di_deleteall)                 \
  M("deleted", kAccess, di_deleted)                     \
  M("deleteorder", kMethod, di_deleteorder)             \
  M("driver", kAccess, di_driver)                       \
  M("eof", kAccess, di_eof)                             \
  M("errinfo", kMethod, di_errinfo)                     \
  M("error", kMethod, di_error)                         \
  M("eval", kMethod, di_eval)                           \
  M("fcount", kAccess, di_fcount)                       \
  M("fieldget", kMethod, di_fieldget)                   \
  M("fieldinfo", kMethod, di_fieldinfo)                 \
  M("fieldname", kMethod, di_fieldname)                 \
  M("fieldpos", kMethod, di_fieldpos)                   \
  M("fieldput", kMethod, di_fieldput)                   \
  M("filespec", kAccess, di_filespec)                   \
  M("filter", kAccess, di_filter)                       \
  M("filter", kAssign, di_set_filter)                   \
  M("flock", kMethod, di_flock)                         \
  M("forblock", kAccess, di_forblock)                   \
  M("forblock", kAssign, di_set_forblock)               \
  M("found", kAccess, di_found)                         \
  M("getarray", kMethod, di_getarray)                   \
  M("getarrfields", kMethod, di_getarrfields)           \
  M("getlocate", kAccess, di_getlocate)                 \
  M("getlookuptable", kMethod, di_getlookuptable)       \
  M("gobottom", kMethod, di_gobottom)                   \
  M("goto", kMethod, di_goto)                           \
  M("gotop", kMethod, di_gotop)                         \
  M("header", kAccess, di_header)                       \
  M("indexappend", kHidden, di_indexappend)             \
  M("indexcheck", kMethod, di_indexcheck)               \
  M("indexcount", kAccess, di_indexcount)               \
  M("indexext", kAccess, di_indexext)                   \
  M("indexgobottom", kHidden, di_indexgobottom)         \
  M("indexgotop", kHidden, di_indexgotop)               \
  M("indexkey", kMethod, di_indexkey)                   \
  M("indexkey", kAccess, di_indexkey)                   \
  M("indexkeycompare", kHidden, di_indexkeycompare)     \
  M("indexord", kMethod, di_indexord)                   \
  M("indexreplace", kHidden, di_indexreplace)           \
  M("indexseek", kHidden, di_indexseek)                 \
  M("indexseekeval", kHidden, di_indexseekeval)         \
  M("indexskip", kHidden, di_indexskip)                 \
  M("indexsynchronize", kHidden, di_indexsynchronize)   \
  M("info", kMethod, di_info)                           \
  M("init", kMethod, di_init)                           \
  M("isrelation", kAccess, di_isrelation)               \
  M("isrelation", kAssign, di_set_isrelation)           \
  M("join", kMethod, di_join)                           \
  M("lastrec", kAccess, di_lastrec)                     \
  M("locate", kMethod, di_locate)                       \
  M("lockcurrentrecord", kMethod, di_lockcurrentrecord) \
  M("lupdate", kAccess, di_lupdate)                     \
  M("name", kAccess, di_name)                           \
  M("noivarget", kMethod, di_noivarget)                 \
  M("noivarput", kMethod, di_noivarput)                 \
  M("orderinfo", kMethod, di_orderinfo)                 \
  M("orderisunique", kMethod, di_orderisunique)         \
  M("orderkeycount", kMethod, di_orderkeycount)         \
  M("orderkeyno", kAccess, di_orderkeyno)               \
  M("orderkeyno", kMethod, di_orderkeyno)               \
  M("orderkeyva", kAccess, di_orderkeyvalue)            \
  M("pack", kMethod, di_pack)                           \
  M("quickfieldget", kMethod, di_quickfieldget)         \
  M("quickfieldput", kMethod, di_quickfieldput)         \
  M("rddinfo", kMethod, di_info)                        \
  M("rddname", kAccess, di_driver)                      \
  M("readonly", kAccess, di_readonly)                   \
  M("recall", kMethod, di_recall)                       \
  M("recallall", kMethod, di_recallall)                 \
  M("reccount", kAccess, di_lastrec)                    \
  M("recno", kAccess, di_recno)                         \
  M("recno", kAssign, di_set_recno)                     \
  M("recordinfo", kMethod, di_recordinfo)               \
  M("recsize", kAccess, di_recsize)                     \
  M("refresh", kMethod, di_refresh)                     \
  M("reindex", kMethod, di_reindex)                     \
  M("relation", kMethod, di_relation)                   \
  M("relationobject", kMethod, di_relationobject)       \
  M("relationtext", kMethod, di_relation)               \
  M("replace", kMethod, di_replace)                     \
  M("rlock", kMethod, di_rlock)                         \
  M("rlocklist", kAccess, di_rlocklist)                 \
  M("rlockverify", kMethod, di_rlockverify)             \
  M("scope", kAccess, di_scope)                         \
  M("scope", kAssign, di_set_scope)                     \
  M("seek", kMethod, di_seek)                           \
  M("seekeval", kMethod, di_seekeval)                   \
  M("setfilter", kMethod, di_setfilter)                 \
  M("setfound", kAssign, di_set_found)                  \
  M("setindex", kMethod, di_setindex)                   \
  M("setlocate", kAssign, di_set_locate)                \
  M("setorder", kMethod, di_setorder)                   \
  M("setordercondition", kMethod, di_setordercondition) \
  M("setrelation", kMethod, di_setrelation)             \
  M("shared", kAccess, di_shared)                       \
  M("skip", kMethod, di_skip)                           \
  M("sort", kMethod, di_sort)                           \
  M("sum", kMethod, di_sum)                             \
  M("total", kMethod, di_total)                         \
  M("unlock", kMethod, di_unlock)                       \
  M("update", kMethod, di_update)                       \
  M("used", kAccess, di_used)                           \
  M("usersdbf", kMethod, di_usersdbf)                   \
  M("whileblock", kAccess, di_whileblock)               \
  M("whileblock", kAssign, di_set_whileblock)           \
  M("zap", kMethod, di_zap)

#define DECLARE_MEMBER(name, kind, function) Var* function(std::int32_t argc, Var** argv);
#define NO_MEMBER(name, kind)
DBFIDX_MEMBERS(DECLARE_MEMBER, NO_MEMBER)
#undef DECLARE_MEMBER
#undef NO_MEMBER

}  // namespace tarnel
