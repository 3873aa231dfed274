#include "param/param_state.h"

MappingRoutine *const g_tParamStateRoutine[] = {
    Param_StateRoutine_Initial, Param_StateRoutine_Getenv,  Param_StateRoutine_Dispatch, Param_StateRoutine_Parser,
    Param_StateRoutine_Check,   Param_StateRoutine_Mapping, Param_StateRoutine_Compose,  Param_StateRoutine_Send,
    Param_StateRoutine_Done,    Param_StateRoutine_Finish,
};
static_assert(sizeof g_tParamStateRoutine == PARAM_STATE_COUNT * sizeof g_tParamStateRoutine[0]);

int Param_StateRoutine_Initial(ParamContext * /*ptContext*/) { return 0; }

int Param_StateRoutine_Done(ParamContext *ptContext)
{
    ptContext->iState = PARAM_STATE_FINISH;
    return 0;
}

int Param_StateRoutine_Finish(ParamContext * /*ptContext*/) { return 0; }

void Param_RunStates(ParamContext *ptContext)
{
    int iCall = 0;
    do {
        g_tParamStateRoutine[ptContext->iState](ptContext);
    } while (ptContext->iState != PARAM_STATE_FINISH && ++iCall < PARAM_CALL_LIMIT);
}
