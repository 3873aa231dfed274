#include "common/string_util.h"
#include "mapping/motion.h"
#include "param/param_state.h"
#include "param/request.h"
#include "sidestore/side_file.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>

/// Appends to the reply body. Its length counts what was cut as well, so nothing more is appended once the room is used
/// up.
static void Append_Output(ParamContext *ptContext, const char *pszText)
{
    const int32_t iRoom = static_cast<int32_t>(sizeof ptContext->szOutput) - 1 - ptContext->iOutputLen;
    if (iRoom > 0)
        ptContext->iOutputLen += static_cast<int32_t>(
            Copy_Text(ptContext->szOutput + ptContext->iOutputLen, static_cast<size_t>(iRoom), pszText));
}

static void Append_Item(ParamContext *ptContext)
{
    if (ptContext->iResult != RESULT_SUCCESS) {
        Append_Output(ptContext, ptContext->szErrorMsg);
        return;
    }
    const bool bRead = ptContext->iMethod == METHOD_READ;
    if (!bRead || ptContext->iContentType != CONTENT_TYPE_XML) {
        Append_Output(ptContext, ptContext->szParamName);
        Append_Output(ptContext, "=");
    }
    Append_Output(ptContext, bRead ? ptContext->szValue : ptContext->szSetValue);
    Append_Output(ptContext, "\r\n");
}

static void Clear_Item(ParamContext *ptContext)
{
    constexpr size_t FIRST = offsetof(ParamContext, szParamName);
    constexpr size_t BEHIND = offsetof(ParamContext, szCodec) + sizeof ParamContext::szCodec;
    memset(reinterpret_cast<char *>(ptContext) + FIRST, 0, BEHIND - FIRST);
    Let_SideFile();
}

int Param_StateRoutine_Compose(ParamContext *ptContext)
{
    Append_Item(ptContext);
    Clear_Item(ptContext);

    const bool bRead = ptContext->iMethod == METHOD_READ;
    const ItemOutcome eOutcome = bRead ? Take_ReadItem(ptContext) : Take_WriteItem(ptContext);
    if (eOutcome == ITEM_TAKEN) {
        ptContext->iState = PARAM_STATE_DISPATCH;
        return 0;
    }
    if (eOutcome == ITEM_NONE && !bRead && ptContext->iMotionEnablePending == 1) {
        // The state stays: the next call finds no item to append and goes on to Send.
        Set_Motion_Capability(ptContext);
        return 0;
    }
    ptContext->iState = PARAM_STATE_SEND;
    return 0;
}

int Param_StateRoutine_Send(ParamContext *ptContext)
{
    // puts adds the newline that ends the header block.
    puts(ptContext->iContentType == CONTENT_TYPE_XML ? "Content-type: text/xml\r\n\r"
                                                     : "Content-type: text/plain\r\n\r");
    fputs(ptContext->szOutput, stdout);
    ptContext->iState = PARAM_STATE_DONE;
    return 0;
}
