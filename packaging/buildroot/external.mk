include $(sort $(wildcard $(BR2_EXTERNAL_PARAM_CGI_PATH)/package/*/*.mk))
