/// The state machine that carries a request from the CGI environment (RFC 3875) to the reply.
///
/// A read item goes Dispatch, Mapping, Compose; a write item Dispatch, Parser, Check, Mapping, Compose. Each routine
/// sets the next state itself. A failure is recorded in the context and goes to Compose, so that every item ends in
/// exactly one reply line and the next item gets its turn.
#pragma once

#include "param/param_context.h"

/// Value of iState.
enum ParamState : int32_t {
    PARAM_STATE_INITIAL, ///< never entered
    PARAM_STATE_GETENV,
    PARAM_STATE_DISPATCH,
    PARAM_STATE_PARSER,
    PARAM_STATE_CHECK,
    PARAM_STATE_MAPPING,
    PARAM_STATE_COMPOSE,
    PARAM_STATE_SEND,
    PARAM_STATE_DONE,
    PARAM_STATE_FINISH,
    PARAM_STATE_COUNT
};

MappingRoutine Param_StateRoutine_Initial, Param_StateRoutine_Done, Param_StateRoutine_Finish;  // param_state.cpp
MappingRoutine Param_StateRoutine_Getenv;                                                       // getenv.cpp
MappingRoutine Param_StateRoutine_Dispatch;                                                     // dispatch.cpp
MappingRoutine Param_StateRoutine_Parser, Param_StateRoutine_Check, Param_StateRoutine_Mapping; // item.cpp
MappingRoutine Param_StateRoutine_Compose, Param_StateRoutine_Send;                             // compose.cpp

/// State routine by state number.
extern MappingRoutine *const g_tParamStateRoutine[PARAM_STATE_COUNT];

/// Runs a context from its iState until Finish, for at most PARAM_CALL_LIMIT calls.
void Param_RunStates(ParamContext *ptContext);
constexpr int PARAM_CALL_LIMIT = 1500;

/// Record a failure of the current item and go to Compose; both return -1. The first takes the whole reply line, the
/// second wraps its message as "#error.<name>=501:<message>". Lines are cut at 127 characters.
int Compose_Error_Message(ParamContext *ptContext, ParamResult eResult, const char *pszLine);
int Compose_NonSupport_Message(ParamContext *ptContext, const char *pszMessage);
