/// The state machine that carries a request from the CGI environment (RFC 3875) to the reply.
///
/// A read item goes Dispatch, Mapping, Compose; a write item Dispatch, Parser, Check, Mapping, Compose. Each routine
/// sets the next state itself. A failure is recorded in the context and jumps to Compose, so that every item ends in
/// exactly one reply line and the next item gets its turn.
#pragma once

#include "param/param_context.h"

/// The states in order of their numbers; state and routine are made from the same word.
#define PARAM_STATES(X) \
    X(Initial)          \
    X(Getenv)           \
    X(Dispatch)         \
    X(Parser)           \
    X(Check)            \
    X(Mapping)          \
    X(Compose)          \
    X(Send)             \
    X(Done)             \
    X(Finish)

#define PARAM_STATE_NUMBER(Name) PARAM_STATE_##Name,
enum ParamState : int32_t { PARAM_STATES(PARAM_STATE_NUMBER) PARAM_STATE_COUNT };
#undef PARAM_STATE_NUMBER

#define PARAM_STATE_ROUTINE(Name) extern MappingRoutine Param_StateRoutine_##Name;
PARAM_STATES(PARAM_STATE_ROUTINE)
#undef PARAM_STATE_ROUTINE

/// State routine by state number.
extern MappingRoutine *const g_tParamStateRoutine[PARAM_STATE_COUNT];

/// Runs a context from its iState until Finish, for at most PARAM_CALL_LIMIT calls.
void Param_RunStates(ParamContext *ptContext);
constexpr int PARAM_CALL_LIMIT = 1500;

/// Record a failure of the current item and go to Compose; both return -1. The first takes the whole reply line, the
/// second wraps its message as "#error.<name>=501:<message>". Lines are cut at 127 characters.
int Compose_Error_Message(ParamContext *ptContext, ParamResult eResult, const char *pszLine);
int Compose_NonSupport_Message(ParamContext *ptContext, const char *pszMessage);
