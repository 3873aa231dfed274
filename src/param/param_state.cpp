#include "param/param_state.h"

#define PARAM_STATE_POINTER(Name) Param_StateRoutine_##Name,
MappingRoutine *const g_tParamStateRoutine[PARAM_STATE_COUNT] = {PARAM_STATES(PARAM_STATE_POINTER)};
#undef PARAM_STATE_POINTER

int Param_StateRoutine_Initial(ParamContext * /*ptContext*/) { return 0; }

int Param_StateRoutine_Done(ParamContext *ptContext)
{
    ptContext->iState = PARAM_STATE_Finish;
    return 0;
}

int Param_StateRoutine_Finish(ParamContext * /*ptContext*/) { return 0; }

void Param_RunStates(ParamContext *ptContext)
{
    int iCall = 0;
    do {
        g_tParamStateRoutine[ptContext->iState](ptContext);
    } while (ptContext->iState != PARAM_STATE_Finish && ++iCall < PARAM_CALL_LIMIT);
}
